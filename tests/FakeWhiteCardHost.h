#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "FakeDialogs.h"
#include "WhiteCardWorkflow.h"

// Records what opening a white card did to the window.
class FakeWhiteCardHost final : public WhiteCardHost {
  public:
    FakeDialogs dialogs;
    std::map<WhiteLabel, std::string> labels;
    std::vector<std::string> statusShown;  // the status line at each immediate redraw
    int whiteRefreshes = 0;
    std::optional<bool> processEnabled;
    bool previews = true;

    void SetLabel(WhiteLabel label, const std::string& text) override { labels[label] = text; }
    void RefreshLabel(WhiteLabel label) override {
        if (label == WhiteLabel::TxtStatusWhite) statusShown.push_back(labels[label]);
    }
    void SetScaleText(const std::string&) override {}
    void DeleteAllRows() override {}
    void RefreshCanvases() override {}
    void RefreshWhiteCanvas() override { ++whiteRefreshes; }
    void SetProcessEnabled(bool enabled) override { processEnabled = enabled; }
    bool ShowPreviews() override { return previews; }
    CanvasSize WhiteCanvas() override { return {230, 230}; }
    TiffServices WhiteServices() override {
        return TiffServices{&NoProgress::Instance(), &NoProgress::Instance(), &dialogs};
    }
    Dialogs& UserDialogs() override { return dialogs; }
};
