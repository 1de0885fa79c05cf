#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A fixed-size byte buffer with typed access by byte offset in the block's own
// byte order. Every typed access is bounds-checked; hot loops that need raw
// speed use Data() and keep their own bounds.
class MemoryBlock {
  public:
    explicit MemoryBlock(std::size_t size) : bytes_(size, 0) {}

    bool LittleEndian = true;

    std::size_t Size() const { return bytes_.size(); }
    std::uint8_t* Data() { return bytes_.data(); }
    const std::uint8_t* Data() const { return bytes_.data(); }

    std::uint8_t UInt8Value(std::size_t offset) const;
    std::int8_t Int8Value(std::size_t offset) const;
    std::uint16_t UInt16Value(std::size_t offset) const;
    std::int16_t Int16Value(std::size_t offset) const;
    std::uint32_t UInt32Value(std::size_t offset) const;

    void SetUInt8Value(std::size_t offset, std::uint8_t value);
    void SetUInt16Value(std::size_t offset, std::uint16_t value);
    void SetUInt32Value(std::size_t offset, std::uint32_t value);

    std::string StringValue(std::size_t offset, std::size_t length) const;
    void SetStringValue(std::size_t offset, const std::string& bytes);

  private:
    void Check(std::size_t offset, std::size_t width) const;
    std::uint64_t Get(std::size_t offset, std::size_t width) const;
    void Put(std::size_t offset, std::size_t width, std::uint64_t value);

    std::vector<std::uint8_t> bytes_;
};
