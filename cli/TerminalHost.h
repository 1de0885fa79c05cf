#pragma once

#include <cstdint>
#include <mutex>
#include <ostream>
#include <string>

#include "RowPassHost.h"

// What one file's rewrite reports to on the command line: a percentage on the
// terminal when there is one to watch, nothing otherwise. No previews are shown
// and nothing can cancel. Hosts of parallel jobs share the stream and its lock.
class TerminalHost final : public RowPassHost, Progress, EventPump {
  public:
    TerminalHost(std::ostream* terminal, std::mutex& lock, std::string name)
        : terminal_(terminal), lock_(lock), name_(std::move(name)) {}

    void SetSubjectStatus(const std::string&) override {}
    Progress& EqualizeProgress() override { return *this; }
    bool ShowPreviews() override { return false; }
    CanvasSize ResultCanvas() override { return {230, 230}; }
    EventPump& Events() override { return *this; }

    void SetMaximum(std::int64_t maximum) override { maximum_ = maximum; }
    void SetValue(double value) override;
    void SetVisible(bool visible) override;
    void Refresh() override {}

    bool UserCancelled() override { return false; }
    void DoEvents() override {}

  private:
    std::ostream* terminal_;  // nil when nobody watches
    std::mutex& lock_;
    std::string name_;
    std::int64_t maximum_ = 0;
    int shown_ = -1;  // the percentage on screen
};
