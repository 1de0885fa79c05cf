#include "SubjectJudge.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

#include "DirectoryBytes.h"
#include "LeftOutCopy.h"
#include "LibtiffRoad.h"
#include "TiffOpening.h"

namespace {
using Verdict = SubjectJudgement::Verdict;

const char* kIncompleteText = "Image data is incomplete: the file ends before its last pixel row.";

std::string StripText(const TiffFile& subject) {
    return "Image file is not in one single strip. Height: " + std::to_string(subject.ImageHeight) +
           "Rows per strip: " + std::to_string(subject.RowsPerStrip);
}

// Where the size and the depth both agree, and then what linear light needs.
std::string Mismatch(const CardSource& card, std::int64_t width, std::int64_t height,
                     std::int64_t bits) {
    const TiffFile& white = card.Record();
    if (width != white.ImageWidth || height != white.ImageHeight)
        return SizeMismatchText(white, width, height);
    if (bits != card.Bits()) return DepthMismatchText(white, bits);
    return "";
}

// Our reader alone takes it: the tests the window always made, then what it
// took for pixels without asking: one plain strip of the card's depth.
SubjectJudgement OnOurReaderAlone(const TiffFile& tiff, TiffOpening opening,
                                  const LibtiffFile& probe, const CardSource* card) {
    if (opening == TiffOpening::Refused) return {Verdict::Refused, tiff.errstr};
    if (tiff.ImageHeight != tiff.RowsPerStrip) return {Verdict::Unfit, StripText(tiff)};
    if (!card) return {Verdict::OneStrip};
    const bool plain = (tiff.BytesPerPixel == 3 || tiff.BytesPerPixel == 6) &&
                       tiff.SamplesPerPixel == 3 && tiff.Compression <= 1;
    const std::int64_t bits = plain ? tiff.BytesPerPixel / 3 * 8 : tiff.BitsPerSample;
    if (std::string text = Mismatch(*card, tiff.ImageWidth, tiff.ImageHeight, bits); !text.empty())
        return {Verdict::Unfit, text};
    if (!plain)
        return {Verdict::Unfit,
                "Image file can't be decoded" +
                    (probe.Error().empty() ? std::string(".") : ": " + probe.Error())};
    if (opening == TiffOpening::Incomplete) return {Verdict::Unfit, kIncompleteText};
    return {Verdict::OneStrip};
}

// Whether our reader sees the file as libtiff does, one plain strip where
// libtiff finds it, so that streaming its rows needs no guesswork.
bool TakenAsOneStrip(const TiffFile& tiff, TiffOpening opening, const LibtiffFile& image) {
    return image.OneStripPlain() && Parsed(opening) &&
           tiff.BytesPerPixel == static_cast<std::int64_t>(3 * image.SampleBytes()) &&
           tiff.ImageWidth == image.width && tiff.ImageHeight == image.height &&
           tiff.LittleEndian == !image.bigEndian &&
           static_cast<std::uint64_t>(tiff.ImageOffset) == TIFFGetStrileOffset(image.Handle(), 0);
}
// What is missing of a file whose strips are read where they stand: streaming
// rows that aren't there would write invented pixels. Empty when nothing is.
std::string MissingStrips(const LibtiffFile& image) {
    if (!image.RowsInPlace()) return "";
    for (std::uint32_t k = 0; k < image.Chunks(); ++k) {
        const LibtiffFile::Place place = image.PlaceOf(k);
        if (place.plane >= 3) continue;
        if (std::string problem = image.ChunkProblem(k, std::uint64_t{place.rows} * place.rowBytes);
            !problem.empty())
            return "Image data is incomplete: " + problem;
    }
    return "";
}
// What the road would write over: another strip's bytes, or the bytes the
// file's tags stand on. Empty when it writes over neither.
std::string Overlap(const TiffFile& tiff, const SubjectJudgement& judged) {
    std::vector<ByteRange> written = judged.verdict == Verdict::Libtiff
                                         ? RewrittenRanges(*judged.image)
                                         : std::vector{RowsOf(tiff)};
    std::erase_if(written, [](const ByteRange& r) { return r.first >= r.second; });
    std::sort(written.begin(), written.end());
    for (std::size_t k = 1; k < written.size(); ++k)
        if (written[k].first < written[k - 1].second)
            return "Image data is damaged: two strips or tiles share bytes of the file.";
    const int fd = ::open(tiff.fi->NativePath().c_str(), O_RDONLY | O_CLOEXEC);
    struct stat file {};
    if (fd < 0) return "";
    std::vector<FileSpan> tagBytes;
    if (::fstat(fd, &file) == 0)
        tagBytes = TagBytesOf(fd, static_cast<std::uint64_t>(file.st_size));
    ::close(fd);
    for (const FileSpan& tags : tagBytes)
        for (const ByteRange& pixels : written)
            if (static_cast<std::uint64_t>(pixels.first) < tags.second &&
                tags.first < static_cast<std::uint64_t>(pixels.second))
                return "Image data overlaps the file's tags: writing its pixels would damage them.";
    return "";
}

// What the subject is and which road takes it, from its tags.
SubjectJudgement JudgeLayout(TiffFile& tiff, std::shared_ptr<FolderItem> file,
                             const CardSource* card) {
    const TiffOpening opening = OpenTiffFile(tiff, std::move(file));
    if (opening == TiffOpening::Missing) return {Verdict::Missing};
    if (opening == TiffOpening::Unopenable) return {Verdict::Unopenable};
    auto image = std::make_unique<LibtiffFile>(tiff.fi->NativePath(), "rmc");
    if (!image->Handle()) return OnOurReaderAlone(tiff, opening, *image, card);
    if (std::string unusable = image->Unusable(); !unusable.empty())
        return {Verdict::Unusable, "this is " + unusable};
    if (!card) return {Verdict::Libtiff};
    if (std::string text = Mismatch(*card, image->width, image->height, image->bits); !text.empty())
        return {Verdict::Unfit, text};
    SubjectJudgement judged{Verdict::Libtiff};
    if (card->Modes().linear) {
        std::string why;
        judged.curves = card->CurvesOf(*image, "the file", why);
        if (!judged.curves) return {Verdict::Unfit, why};
    }
    if (TakenAsOneStrip(tiff, opening, *image)) {
        if (opening == TiffOpening::Incomplete) return {Verdict::Unfit, kIncompleteText};
        judged.verdict = Verdict::OneStrip;
    } else if (std::string missing = MissingStrips(*image); !missing.empty()) {
        return {Verdict::Unfit, missing};
    }
    judged.image = std::move(image);
    return judged;
}

}  // namespace

SubjectJudgement JudgeSubject(TiffFile& tiff, std::shared_ptr<FolderItem> file,
                              const CardSource* card) {
    SubjectJudgement judged = JudgeLayout(tiff, std::move(file), card);
    const bool written = judged.verdict == Verdict::OneStrip || judged.verdict == Verdict::Libtiff;
    if (card && written)
        if (std::string text = Overlap(tiff, judged); !text.empty()) return {Verdict::Unfit, text};
    return judged;
}

std::string SizeMismatchText(const TiffFile& white, std::int64_t width, std::int64_t height) {
    return "White and image files have different pixel dimensions. White: " +
           std::to_string(white.ImageWidth) + "x" + std::to_string(white.ImageHeight) +
           "  Image: " + std::to_string(width) + "x" + std::to_string(height);
}

std::string DepthMismatchText(const TiffFile& white, std::int64_t bits) {
    return "White and image files have different bits per sample. White: " +
           std::to_string(white.BitsPerSample) + "  Image: " + std::to_string(bits);
}
