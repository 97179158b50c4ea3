// Tells the test of the catalogue what the library holds: a line for the number of cells and
// of temperature sensors of a module, then for each type code the class that the factory makes.

#include "DataRecord.h"

#include <cstdlib>
#include <cxxabi.h>
#include <iostream>
#include <memory>
#include <typeinfo>

int main() {
    std::cout << DataRecord::seriesCells << ' ' << DataRecord::temperatureSensors << '\n';
    for (unsigned code = 0; code < 256; ++code) {
        const std::shared_ptr<DataRecord> record = DataRecord::factory(DataRecord::Type(code));
        const DataRecord& made = *record;
        const std::unique_ptr<char, void (*)(void*)> name(
            abi::__cxa_demangle(typeid(made).name(), nullptr, nullptr, nullptr), std::free);
        std::cout << name.get() << '\n';
    }
    return 0;
}
