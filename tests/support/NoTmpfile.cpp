// Loaded into brisavane-cli by a test (LD_PRELOAD) to stand for a file
// system that can't make a file without a name: every open asking for one
// fails as such a file system fails it.

#include <dlfcn.h>
#include <fcntl.h>

#include <cerrno>
#include <cstdarg>

namespace {
using Open = int (*)(const char*, int, ...);

int Forward(const char* name, const char* path, int flags, va_list args) {
    if ((flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    const auto real = reinterpret_cast<Open>(::dlsym(RTLD_NEXT, name));
    const int mode = (flags & O_CREAT) ? va_arg(args, int) : 0;
    return real(path, flags, mode);
}
}  // namespace

extern "C" int open(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const int fd = Forward("open", path, flags, args);
    va_end(args);
    return fd;
}

extern "C" int open64(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const int fd = Forward("open64", path, flags, args);
    va_end(args);
    return fd;
}
