#include "RecordBytes.h"

#include <algorithm>
#include <utility>

static_assert(sizeof(RecordBytes) <= 48, "what withinCapacity is reckoned from");

void RecordBytes::append(std::span<const uint8_t> added) {
    if (auto* within = std::get_if<Within>(&held)) {
        if (added.size() <= within->bytes.size() - within->length) {
            std::copy(added.begin(), added.end(), within->bytes.begin() + within->length);
            within->length = static_cast<uint8_t>(within->length + added.size());
            return;
        }
        std::vector<uint8_t> block;
        block.reserve(within->length + added.size());
        block.assign(begin(), end());
        held = std::move(block);
    }
    auto& block = *std::get_if<std::vector<uint8_t>>(&held);
    const size_t needed = block.size() + added.size();
    if (needed > block.capacity()) {
        block.reserve(needed + needed / 16); // a vector of its own accord doubles
    }
    block.insert(block.end(), added.begin(), added.end());
}
