#pragma once

#include <cstddef>
#include <cstdint>

// A read-only view of a stretch of a file in memory, moved on as a walk over
// the file goes on: reading a large file through it hands the caller the page
// cache's own bytes, where a read would first copy them into a buffer. Only a
// small window is mapped at a time, so the pages behind the walk leave the
// process's resident memory as it moves on.
class MappedWindow {
  public:
    // A descriptor of -1 (bytes that aren't in a file) maps nothing.
    explicit MappedWindow(int descriptor) : fd_(descriptor) {}
    ~MappedWindow();
    MappedWindow(const MappedWindow&) = delete;
    MappedWindow& operator=(const MappedWindow&) = delete;

    // Bytes [position, position + count) of the file, valid until the next
    // call; nil when they don't all lie inside the file as it is now, or the
    // file can't be mapped. A nil answer leaves the last answer valid.
    const std::uint8_t* At(std::int64_t position, std::size_t count);

    struct Place;  // where the window is known to the bus error handler

  private:
    bool Holds(std::int64_t position, std::size_t count) const;
    void Unmap();

    int fd_;
    std::uint8_t* base_ = nullptr;  // the window's first byte
    std::int64_t start_ = 0;        // its place in the file
    std::size_t length_ = 0;
    Place* place_ = nullptr;
};
