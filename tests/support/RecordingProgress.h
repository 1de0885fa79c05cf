#pragma once

#include <cstdint>
#include <vector>

#include "Progress.h"

// Remembers everything a long operation told its progress bar.
class RecordingProgress : public Progress {
  public:
    void SetMaximum(std::int64_t m) override { maxima.push_back(m); }
    void SetValue(double v) override { values.push_back(v); }
    void SetVisible(bool v) override { visibility.push_back(v); }
    void Refresh() override { ++refreshes; }

    std::vector<std::int64_t> maxima;
    std::vector<double> values;
    std::vector<bool> visibility;
    int refreshes = 0;
};
