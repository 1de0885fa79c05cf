#pragma once

#include <cstdint>
#include <string>

#include "ProgressLine.h"
#include "RowPassHost.h"

// What one file's rewrite reports to on the command line: its rows, to the
// run's progress line. No previews are shown and nothing can cancel.
class TerminalHost final : public RowPassHost, Progress, EventPump {
  public:
    TerminalHost(ProgressLine& line, std::size_t file, std::string name)
        : line_(line), file_(file), name_(std::move(name)) {}

    void SetSubjectStatus(const std::string&) override {}
    Progress& EqualizeProgress() override { return *this; }
    bool ShowPreviews() override { return false; }
    CanvasSize ResultCanvas() override { return {230, 230}; }
    EventPump& Events() override { return *this; }

    void SetMaximum(std::int64_t maximum) override { maximum_ = maximum; }
    // The bar's value is the row just written, counted from 0.
    void SetValue(double value) override {
        line_.Rows(file_, name_, static_cast<std::int64_t>(value) + 1, maximum_);
    }
    void SetVisible(bool) override {}
    void Refresh() override {}

    bool UserCancelled() override { return false; }
    void DoEvents() override {}

  private:
    ProgressLine& line_;
    std::size_t file_;
    std::string name_;
    std::int64_t maximum_ = 0;
};
