#pragma once

#include <cstdint>

// What long operations tell about their progress; a progress bar in the window,
// a terminal line in the command-line tool, nothing at all in tests.
class Progress {
  public:
    virtual ~Progress() = default;
    virtual void SetMaximum(std::int64_t maximum) = 0;
    virtual void SetValue(double value) = 0;
    virtual void SetVisible(bool visible) = 0;
    virtual void Refresh() = 0;
};

class NoProgress final : public Progress {
  public:
    void SetMaximum(std::int64_t) override {}
    void SetValue(double) override {}
    void SetVisible(bool) override {}
    void Refresh() override {}

    static NoProgress& Instance() {
        static NoProgress instance;
        return instance;
    }
};
