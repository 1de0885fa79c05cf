#include "MemoryBlock.h"

#include <cstring>

#include "Exceptions.h"

void MemoryBlock::Check(std::size_t offset, std::size_t width) const {
    if (offset > bytes_.size() || width > bytes_.size() - offset)
        throw OutOfBoundsException("MemoryBlock access at " + std::to_string(offset) +
                                   " past its size " + std::to_string(bytes_.size()));
}

std::uint64_t MemoryBlock::Get(std::size_t offset, std::size_t width) const {
    Check(offset, width);
    std::uint64_t value = 0;
    for (std::size_t k = 0; k < width; ++k) {
        const std::size_t shift = LittleEndian ? k : width - 1 - k;
        value |= std::uint64_t{bytes_[offset + k]} << (8 * shift);
    }
    return value;
}

void MemoryBlock::Put(std::size_t offset, std::size_t width, std::uint64_t value) {
    Check(offset, width);
    for (std::size_t k = 0; k < width; ++k) {
        const std::size_t shift = LittleEndian ? k : width - 1 - k;
        bytes_[offset + k] = static_cast<std::uint8_t>(value >> (8 * shift));
    }
}

std::uint8_t MemoryBlock::UInt8Value(std::size_t offset) const {
    return static_cast<std::uint8_t>(Get(offset, 1));
}
std::int8_t MemoryBlock::Int8Value(std::size_t offset) const {
    return static_cast<std::int8_t>(Get(offset, 1));
}
std::uint16_t MemoryBlock::UInt16Value(std::size_t offset) const {
    return static_cast<std::uint16_t>(Get(offset, 2));
}
std::int16_t MemoryBlock::Int16Value(std::size_t offset) const {
    return static_cast<std::int16_t>(Get(offset, 2));
}
std::uint32_t MemoryBlock::UInt32Value(std::size_t offset) const {
    return static_cast<std::uint32_t>(Get(offset, 4));
}

void MemoryBlock::SetUInt8Value(std::size_t offset, std::uint8_t value) {
    Put(offset, 1, value);
}
void MemoryBlock::SetUInt16Value(std::size_t offset, std::uint16_t value) {
    Put(offset, 2, value);
}
void MemoryBlock::SetUInt32Value(std::size_t offset, std::uint32_t value) {
    Put(offset, 4, value);
}

std::string MemoryBlock::StringValue(std::size_t offset, std::size_t length) const {
    Check(offset, length);
    return std::string(reinterpret_cast<const char*>(bytes_.data() + offset), length);
}

void MemoryBlock::SetStringValue(std::size_t offset, const std::string& bytes) {
    Check(offset, bytes.size());
    std::memcpy(bytes_.data() + offset, bytes.data(), bytes.size());
}
