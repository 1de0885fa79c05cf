#pragma once

// A white card, a folder of subjects and an output folder on disk, with the
// window's state holding the analysed white card, for one press of Process.

#include <filesystem>
#include <string>

#include "Batch.h"
#include "CardSource.h"
#include "FakeBatchHost.h"
#include "TempFolder.h"
#include "TiffBuilder.h"
#include "WindowState.h"

// A card darker away from its top left corner, where its brightest green is.
inline testing_tiff::TiffSpec Card(int bits = 16, bool little = true) {
    testing_tiff::TiffSpec s = testing_tiff::SpecOf(6, 4, bits, little);
    const std::uint16_t top = bits == 8 ? 250 : 64000;
    s.pixel = [top](std::uint32_t x, std::uint32_t y) {
        return testing_tiff::Rgb{1, static_cast<std::uint16_t>(top - (x + y) * (top / 20)), 1};
    };
    return s;
}

// Samples from black to the ceiling, with a profile and bytes after the rows.
inline testing_tiff::TiffSpec Scene(int bits = 16, bool little = true) {
    testing_tiff::TiffSpec s = testing_tiff::SpecOf(6, 4, bits, little);
    const std::uint32_t top = bits == 8 ? 255 : 65535;
    s.pixel = [top](std::uint32_t x, std::uint32_t y) {
        const auto v = [&](std::uint32_t k) { return static_cast<std::uint16_t>(k * 7919u % top); };
        return testing_tiff::Rgb{v(x * 31 + y * 7), v(x + y * 101 + 1),
                                 static_cast<std::uint16_t>(x == 0 ? top : 0)};
    };
    s.iccProfile = std::string(
        "\0\0\0\x0c"
        "acspICC!",
        12);
    s.trailer = "trailing bytes stay";
    return s;
}

// At an amount of 1 the target is the card's brightest green.
inline double FullTarget(const testing_tiff::TiffSpec& card) {
    return card.pixel(0, 0).g;
}

struct BatchRig {
    TempFolder dir;
    WindowState state;
    FakeBatchHost host;

    explicit BatchRig(const testing_tiff::TiffSpec& white = Card()) {
        std::filesystem::create_directories(dir.Path() / "subjects");
        std::filesystem::create_directories(dir.Path() / "out");
        testing_tiff::WriteFile(dir / "white.tif", testing_tiff::BuildTiff(white).bytes);
        CorrectionModes modes;
        modes.cards = {dir / "white.tif"};
        CardProblem problem;
        state.card = CardSource::Open(modes, {}, problem);
        if (state.card) state.Tiffb = state.card->SharedRecord();
        state.WhiteOpened = true;
        state.fsubject = std::make_shared<FolderItem>(dir.Path() / "subjects");
    }

    std::string SubjectPath(const std::string& name) const { return dir / ("subjects/" + name); }
    std::string OutputPath(const std::string& name) const { return dir / ("out/" + name); }

    void AddSubject(const std::string& name, const std::string& bytes, bool ticked = true) {
        testing_tiff::WriteFile(SubjectPath(name), bytes);
        host.rows.push_back({ticked, name});
    }
    // Process, with the folder dialog answering into ("": cancelled).
    void Press(const std::filesystem::path& into) {
        host.dialogs.folderAnswers = {into};
        Batch(state, host).BtnProcess_Action();
    }
    void Press() { Press(dir.Path() / "out"); }
    std::string Message(std::size_t row) const {
        return row < state.ErrorMessages.size() ? state.ErrorMessages[row] : std::string();
    }
};
