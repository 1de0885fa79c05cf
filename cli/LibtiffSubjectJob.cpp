#include "LibtiffSubjectJob.h"

#include <filesystem>
#include <system_error>

#include "CardGreen.h"
#include "ChunkRewrite.h"
#include "CopyAroundRows.h"
#include "HiddenCopy.h"
#include "OutputFileName.h"
#include "SubjectEngine.h"
#include "SubjectTest.h"

namespace fs = std::filesystem;

std::string SubjectMismatch(const TiffFile& white, const LibtiffFile& subject) {
    if (subject.width != white.ImageWidth || subject.height != white.ImageHeight)
        return SizeMismatchText(white, subject.width, subject.height);
    if (subject.bits != white.BitsPerSample)
        return "White and image files have different bits per sample. White: " +
               std::to_string(white.BitsPerSample) + "  Image: " + std::to_string(subject.bits);
    return "";
}

namespace {
// Writes the subject's strips or tiles into the hidden copy; empty when it
// came out whole.
std::string Rewrite(const std::string& path, const fs::path& copy, const JobSettings& settings,
                    ChunkCorrector* modes, bool& droppedLayers) {
    // libtiff chops one uncompressed strip into small ones in update mode,
    // whatever the mode says, so the subject is read chopped alike: the two
    // then number their strips the same.
    LibtiffFile subject(path, "rm"), image(copy.string(), "r+m");
    CardGreen card(settings.cardThroughLibtiff.empty() ? settings.white.fi->NativePath()
                                                       : settings.cardThroughLibtiff);
    if (!subject.Handle()) return subject.Error();
    if (!image.Handle()) return image.Error();
    if (!card.Opened()) return "the white card can't be read: " + card.Image().Error();
    droppedLayers = DropLayerData(image);
    const std::string problem = RewriteChunks(subject, image, card, settings.targetLevel, modes);
    return problem.empty() || card.Image().Error().empty() ? problem
                                                           : problem + ": " + card.Image().Error();
}
}  // namespace

SubjectResult EqualizeThroughLibtiff(const std::string& path, const LibtiffFile& subject,
                                     const JobSettings& settings, std::size_t jobNumber,
                                     ChunkCorrector* modes) {
    const std::string name = fs::path(path).filename().string();
    if (const std::string text = SubjectMismatch(settings.white, subject); !text.empty())
        return SubjectResult::Failed(name, text);
    const auto output = settings.outputFolder.Child(CreateOutputFileName(name));
    if (!output) return SubjectResult::Failed(name, "no output name can be made from this name");
    std::error_code same;
    if (fs::equivalent(path, output->Path(), same))
        return SubjectResult::Skipped(name, "its output would replace the subject " + name);
    if (output->Exists() && !settings.overwrite)
        return SubjectResult::Skipped(name,
                                      output->NativePath() + " exists (--overwrite replaces it)");
    const auto hidden = settings.outputFolder.Child(HiddenCopyName(output->Name(), jobNumber));
    std::error_code ec;
    bool droppedLayers = false;
    std::string problem = "the copy can't be made";
    // The strips or tiles are all written anew: copying them first would only
    // have them written twice, and those that grow would leave the old,
    // uncorrected ones behind in the file.
    if (hidden && CopyAroundRanges(path, hidden->Path().string(), RewrittenRanges(subject)))
        problem = Rewrite(path, hidden->Path(), settings, modes, droppedLayers);
    if (problem.empty() && !PublishCopy(*hidden, *output, settings.overwrite))
        problem = output->NativePath() + " appeared meanwhile (--overwrite replaces it)";
    if (!problem.empty()) {
        if (hidden) fs::remove(hidden->Path(), ec);
        return SubjectResult::Failed(name, std::string(kWriteProblemText) + " " + problem);
    }
    SubjectResult result = SubjectResult::Written(name, output->NativePath());
    if (droppedLayers) result.notes.push_back("Photoshop layer data removed");
    return result;
}
