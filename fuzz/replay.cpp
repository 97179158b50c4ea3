// Gives a fuzzer's inputs to its entry point, without a fuzzing engine: any compiler builds it.
// Arguments are files and directories of files.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argumentCount, char** arguments) {
    std::vector<std::filesystem::path> inputs;
    for (int index = 1; index < argumentCount; ++index) {
        const std::filesystem::path argument = arguments[index];
        if (!std::filesystem::is_directory(argument)) {
            inputs.push_back(argument);
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argument)) {
            if (entry.is_regular_file()) {
                inputs.push_back(entry.path());
            }
        }
    }
    std::sort(inputs.begin(), inputs.end());
    for (const std::filesystem::path& input : inputs) {
        std::ifstream stream(input, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(stream),
                                      std::istreambuf_iterator<char>()};
        if (!stream) {
            std::cerr << "Can't read " << input << std::endl;
            return 1;
        }
        std::cout << input.string() << std::endl; // the last line names the input that failed
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::cout << inputs.size() << " inputs replayed" << std::endl;
    return inputs.empty() ? 1 : 0;
}
