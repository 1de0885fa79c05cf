#include "PositionedIO.h"

#include <unistd.h>

#include <cerrno>

std::size_t ReadAtPlace(int fd, std::uint8_t* dest, std::size_t count, std::int64_t position) {
    std::size_t got = 0;
    while (got < count) {
        const ssize_t n = ::pread(fd, dest + got, count - got,
                                  static_cast<off_t>(position + static_cast<std::int64_t>(got)));
        if (n > 0)
            got += static_cast<std::size_t>(n);
        else if (n == 0 || errno != EINTR)
            break;
    }
    return got;
}

bool WriteAtPlace(int fd, const std::uint8_t* src, std::size_t count, std::int64_t position) {
    std::size_t put = 0;
    while (put < count) {
        errno = 0;
        const ssize_t n = ::pwrite(fd, src + put, count - put,
                                   static_cast<off_t>(position + static_cast<std::int64_t>(put)));
        if (n > 0)
            put += static_cast<std::size_t>(n);
        else if (n == 0 || errno != EINTR)
            return false;
    }
    return true;
}
