#pragma once

// A window stand-in for the batch and the row pass: a list of rows, answers to
// the dialogs prepared in advance, and a record of everything shown.

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "BatchHost.h"
#include "FakeDialogs.h"
#include "Progress.h"

// Remembers everything a long operation told its progress bar.
class RecordingProgress : public Progress {
  public:
    void SetMaximum(std::int64_t m) override { maxima.push_back(m); }
    void SetValue(double v) override { values.push_back(v); }
    void SetVisible(bool v) override { visibility.push_back(v); }
    void Refresh() override {}

    std::vector<std::int64_t> maxima;
    std::vector<double> values;
    std::vector<bool> visibility;
};

struct ListRow {
    bool ticked;
    std::string name;
};

class FakeBatchHost final : public BatchHost, EventPump {
  public:
    // The list
    std::vector<ListRow> rows;
    std::map<std::int64_t, RowMark> marks;
    // Controls
    bool processDisabled = false;
    bool showPreviews = true;
    int resultRefreshes = 0;
    std::vector<std::string> statuses;
    // Called with each status text, for a test that acts at a step of the batch.
    std::function<void(const std::string&)> onStatus;
    RecordingProgress progress;
    FakeDialogs dialogs;
    // Events: the user cancels once this many rows were pumped (-1: never)
    int cancelAfterPumps = -1;
    int pumps = 0;
    int cancelQuestions = 0;
    // Called at each pump, for a test that acts as the user would mid-file.
    std::function<void()> onPump;

    std::int64_t ListCount() override { return static_cast<std::int64_t>(rows.size()); }
    bool Ticked(std::int64_t row) override { return rows.at(static_cast<std::size_t>(row)).ticked; }
    std::string FileName(std::int64_t row) override {
        return rows.at(static_cast<std::size_t>(row)).name;
    }
    void SetRowPicture(std::int64_t row, RowMark mark) override { marks[row] = mark; }
    void DisableProcess() override { processDisabled = true; }
    void SetSubjectStatus(const std::string& text) override {
        statuses.push_back(text);
        if (onStatus) onStatus(text);
    }
    Progress& EqualizeProgress() override { return progress; }
    bool ShowPreviews() override { return showPreviews; }
    CanvasSize SubjectCanvas() override { return {230, 230}; }
    CanvasSize ResultCanvas() override { return {230, 230}; }
    void RefreshResult() override { ++resultRefreshes; }
    Dialogs& UserDialogs() override { return dialogs; }
    EventPump& Events() override { return *this; }

    bool UserCancelled() override {
        ++cancelQuestions;
        return cancelAfterPumps >= 0 && pumps >= cancelAfterPumps;
    }
    void DoEvents() override {
        ++pumps;
        if (onPump) onPump();
    }
};
