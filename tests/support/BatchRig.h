#pragma once

// A white card, a folder of subjects and an output folder on disk, with the
// window's state holding the analysed white card, for one press of Process.

#include <filesystem>
#include <string>

#include "Batch.h"
#include "FakeBatchHost.h"
#include "TempFolder.h"
#include "TiffBuilder.h"
#include "WhiteCard.h"
#include "WindowState.h"

struct BatchRig {
    TempFolder dir;
    WindowState state;
    FakeBatchHost host;

    explicit BatchRig(const testing_tiff::TiffSpec& white) {
        std::filesystem::create_directories(dir.Path() / "subjects");
        std::filesystem::create_directories(dir.Path() / "out");
        testing_tiff::WriteFile(dir / "white.tif", testing_tiff::BuildTiff(white).bytes);
        std::string error;
        state.Tiffb = LoadWhiteCard(dir / "white.tif", error);
        state.WhiteOpened = true;
        state.fsubject = std::make_shared<FolderItem>(dir.Path() / "subjects");
        host.folderAnswer = std::make_shared<FolderItem>(dir.Path() / "out");
    }

    std::string SubjectPath(const std::string& name) const { return dir / ("subjects/" + name); }
    std::string OutputPath(const std::string& name) const { return dir / ("out/" + name); }

    void AddSubject(const std::string& name, const std::string& bytes, bool ticked = true) {
        testing_tiff::WriteFile(SubjectPath(name), bytes);
        host.rows.push_back({ticked, name});
    }
    void Press() { Batch(state, host).BtnProcess_Action(); }
    std::string Message(std::size_t row) const {
        return row < state.ErrorMessages.size() ? state.ErrorMessages[row] : std::string();
    }
};
