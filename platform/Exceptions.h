#pragma once

#include <memory>
#include <stdexcept>
#include <string>

// The two failures that handlers catch by name. Everything that uses an object
// that may be missing goes through Deref, so a missing object always surfaces as
// a NilObjectException instead of undefined behaviour.
class NilObjectException : public std::runtime_error {
  public:
    explicit NilObjectException(const std::string& what = "nil object")
        : std::runtime_error(what) {}
};

class IOException : public std::runtime_error {
  public:
    explicit IOException(const std::string& what) : std::runtime_error(what) {}
};

class OutOfBoundsException : public std::out_of_range {
  public:
    explicit OutOfBoundsException(const std::string& what) : std::out_of_range(what) {}
};

template <class T>
T& Deref(const std::shared_ptr<T>& p) {
    if (!p) throw NilObjectException();
    return *p;
}
