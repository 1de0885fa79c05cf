#include "LibtiffRoad.h"

#include <unistd.h>

#include <algorithm>
#include <limits>

#include "PositionedIO.h"
#include "PreviewGeometry.h"
#include "SubjectCorrection.h"

namespace {
constexpr ttag_t kPhotoshopLayers = 37724;

// Hands the mapped subject's pages back every so many rows.
constexpr std::uint32_t kReleaseRows = 64;

// An extra sample's plane is kept as it was; every other strip or tile is
// written anew.
bool Rewritten(const LibtiffFile::Place& place) {
    return place.plane < 3;
}

// Photoshop's layer data would reopen the uncorrected image in Photoshop: it
// is dropped from the copy. True when the copy held some.
bool DropLayerData(LibtiffFile& copy) {
    std::uint32_t count = 0;
    void* data = nullptr;
    if (!TIFFGetField(copy.Handle(), kPhotoshopLayers, &count, &data)) return false;
    TIFFUnsetField(copy.Handle(), kPhotoshopLayers);
    return true;
}

class LibtiffPass {
  public:
    LibtiffPass(const LibtiffRoadFiles& files, RowPassHost& host, PassPictures& pictures)
        : files_(files), image_(files.subject), host_(host), pictures_(pictures) {}

    LibtiffRoadEnd Run();

  private:
    struct Piece {
        std::uint32_t y, x, width;
        int plane;  // -1 for interleaved pixels
    };
    void SetUp();
    LibtiffRoadEnd InPlace();
    LibtiffRoadEnd Chunks();
    LibtiffRoadEnd RowByRow();
    bool MakeRoomAtTheEnd();
    // One row's piece: false when the user stopped the pass before it;
    // else the piece corrected in place, its previews drawn, the progress
    // moved and the events pumped.
    bool Row(const Piece& piece, std::uint8_t* samples, bool swapped);
    void Draw(std::shared_ptr<Picture>& picture, const PreviewGeometry& g, std::int64_t at,
              const Piece& piece, const SampleRow& row) const;
    LibtiffRoadEnd Failed(std::string problem) const {
        host_.EqualizeProgress().SetVisible(false);
        return {RowPassEnd::WriteFailed, std::move(problem)};
    }
    LibtiffRoadEnd Cancelled() const {
        host_.EqualizeProgress().SetVisible(false);
        host_.SetSubjectStatus("");
        return {RowPassEnd::Cancelled, {}};
    }
    LibtiffRoadEnd Finish(LibtiffFile* copy);
    std::uint32_t ColourPlanes() const { return image_.planar == PLANARCONFIG_SEPARATE ? 3 : 1; }

    const LibtiffRoadFiles& files_;
    LibtiffFile& image_;
    RowPassHost& host_;
    PassPictures& pictures_;
    PreviewGeometry result_, subject_;
    std::uint64_t unitsPerRow_ = 1, done_ = 0;
    std::vector<std::uint8_t> data_;
};

void LibtiffPass::SetUp() {
    result_ = StartPass(host_, image_.width, image_.height, files_.outputName, pictures_.result);
    if (pictures_.subject && host_.ShowPreviews()) {
        const CanvasSize room = pictures_.subjectRoom;
        subject_ = PreviewGeometry::For(image_.width, image_.height, room.width, room.height);
        *pictures_.subject = std::make_shared<Picture>(subject_.width, subject_.height, 32);
    }
    const std::uint32_t across =
        image_.tiled ? (image_.width + image_.tileWidth - 1) / image_.tileWidth : 1;
    unitsPerRow_ = std::uint64_t{across} * ColourPlanes();
}

void LibtiffPass::Draw(std::shared_ptr<Picture>& picture, const PreviewGeometry& g, std::int64_t at,
                       const Piece& piece, const SampleRow& row) const {
    if (!picture || at < 0) return;
    const bool eightBit = image_.bits == 8;
    if (piece.plane < 0)
        SamplePreviewRow(g, row, piece.x, piece.width, eightBit, *picture, at);
    else
        SamplePreviewPlane(g, row, piece.x, piece.width, eightBit, *picture, at, piece.plane);
}

// The subject preview shows the rows a file's preview shows; the result
// preview those whose phase is 0, as the one-strip pass draws it.
bool LibtiffPass::Row(const Piece& piece, std::uint8_t* samples, bool swapped) {
    if (host_.Events().UserCancelled()) return false;
    const std::size_t stride = piece.plane < 0 ? image_.samples : 1;
    const SampleKind kind = image_.bits == 8 ? SampleKind::U8
                            : swapped        ? SampleKind::U16Swapped
                                             : SampleKind::U16;
    const SampleRow row{samples, kind, stride};
    if (pictures_.subject && host_.ShowPreviews())
        Draw(*pictures_.subject, subject_, PreviewRowOf(subject_, image_.bits == 8, piece.y), piece,
             row);
    const SampleSpan span{samples,
                          piece.width,
                          stride,
                          piece.plane < 0 ? 0u : std::size_t(piece.plane),
                          piece.plane < 0 ? 3u : 1u,
                          image_.SampleBytes(),
                          swapped};
    if (!files_.correction.Correct(piece.y, piece.x, span))
        throw std::runtime_error("the white card's rows can't be read");
    if (piece.y % result_.rowStep == 0 && host_.ShowPreviews())
        Draw(pictures_.result, result_, piece.y / result_.rowStep, piece, row);
    Progress& bar = host_.EqualizeProgress();
    bar.SetValue(static_cast<double>(done_++ / unitsPerRow_));
    bar.Refresh();
    host_.Events().DoEvents();
    return true;
}

LibtiffRoadEnd LibtiffPass::Run() {
    SetUp();
    if (image_.RowsInPlace()) return InPlace();
    return image_.RowByRow() ? RowByRow() : Chunks();
}

// Uncompressed strips: each row read, corrected and written back where it
// stands, in the file's own byte order; libtiff isn't needed for the pixels.
LibtiffRoadEnd LibtiffPass::InPlace() {
    TIFF* tif = image_.Handle();
    const bool swapped = image_.bits == 16 && image_.bigEndian == kHostLittleEndian;
    for (std::uint32_t k = 0; k < image_.Chunks(); ++k) {
        const LibtiffFile::Place place = image_.PlaceOf(k);
        if (!Rewritten(place)) continue;
        const std::uint64_t start = TIFFGetStrileOffset(tif, k);
        if (std::string problem =
                image_.ChunkProblem(k, std::uint64_t{place.rows} * place.rowBytes);
            !problem.empty())
            return Failed(problem);
        data_.resize(place.rowBytes);
        for (std::uint32_t r = 0; r < place.rows; ++r) {
            const auto at = static_cast<std::int64_t>(start + std::uint64_t{r} * place.rowBytes);
            if (ReadAtPlace(image_.Descriptor(), data_.data(), place.rowBytes, at) !=
                place.rowBytes)
                return Failed("strip " + std::to_string(k) + " is cut short");
            const int plane =
                image_.planar == PLANARCONFIG_SEPARATE ? static_cast<int>(place.plane) : -1;
            if (!Row({place.y + r, 0, place.width, plane}, data_.data(), swapped))
                return Cancelled();
            if (!WriteAtPlace(files_.output, data_.data(), place.rowBytes, at))
                return Failed("a row can't be written");
            if (files_.leftOut)
                files_.leftOut->Written(k, at, at + static_cast<std::int64_t>(place.rowBytes));
        }
    }
    // Only layer data to drop needs the copy opened through libtiff.
    std::uint32_t count = 0;
    void* layers = nullptr;
    if (!TIFFGetField(tif, kPhotoshopLayers, &count, &layers)) return Finish(nullptr);
    LibtiffFile copy(files_.output, files_.outputName, "r+m");
    if (!copy.Handle()) return Failed(copy.Error());
    return Finish(&copy);
}

// Compressed strips and tiles, each decoded whole, written with its own
// compression and predictor where it stood or, grown, at the end of the file.
LibtiffRoadEnd LibtiffPass::Chunks() {
    LibtiffFile copy(files_.output, files_.outputName, "r+m");
    if (!copy.Handle()) return Failed(copy.Error());
    // The copy's directory is read from its own bytes, which a hostile file's
    // strips may have overlapped and left out.
    if (!copy.SameLayout(image_))
        return Failed("the copy's strips or tiles differ from the subject's");
    data_.resize(image_.ChunkBytes());
    TIFF* tif = copy.Handle();
    for (std::uint32_t k = 0; k < image_.Chunks(); ++k) {
        const LibtiffFile::Place place = image_.PlaceOf(k);
        if (!Rewritten(place)) continue;
        const tmsize_t size = image_.ReadChunk(k, data_.data());
        if (size < 0) return Failed(image_.Error());
        const int plane =
            image_.planar == PLANARCONFIG_SEPARATE ? static_cast<int>(place.plane) : -1;
        for (std::uint32_t r = 0; r < place.rows; ++r)
            if (!Row({place.y + r, place.x, place.width, plane}, data_.data() + r * place.rowBytes,
                     false)) {
                // The strips or tiles written so far, grown ones at the file's
                // end, are kept: the directory is written to say where they are.
                TIFFFlush(tif);
                return Cancelled();
            }
        const tmsize_t written = image_.tiled ? TIFFWriteEncodedTile(tif, k, data_.data(), size)
                                              : TIFFWriteEncodedStrip(tif, k, data_.data(), size);
        if (written != size)
            return Failed(copy.Error().empty() ? "a strip can't be written" : copy.Error());
        if (files_.leftOut) {
            const auto start = static_cast<off_t>(
                std::min<std::uint64_t>(TIFFGetStrileOffset(image_.Handle(), k), INT64_MAX));
            files_.leftOut->Written(k, start, std::numeric_limits<off_t>::max());
        }
    }
    return Finish(&copy);
}

// libtiff writes a strip over the old one when the first piece it is given
// fits there, and appends the pieces after it without looking again: a strip
// written a row at a time that grows would run over whatever follows. So
// each colour strip is first cut to one byte where it stood; written anew, it
// then goes to the end of the file whole.
bool LibtiffPass::MakeRoomAtTheEnd() {
    LibtiffFile copy(files_.output, files_.outputName, "r+m");
    if (!copy.Handle() || !copy.SameLayout(image_)) return false;
    std::uint8_t placeholder = 0;
    for (std::uint32_t k = 0; k < image_.Chunks(); ++k)
        if (Rewritten(image_.PlaceOf(k)) &&
            TIFFWriteRawStrip(copy.Handle(), k, &placeholder, 1) != 1)
            return false;
    return TIFFFlush(copy.Handle()) != 0;
}

// A strip too large to hold: decoded from a mapping of the subject and
// encoded again a row at a time, a reader for each plane. A stop inside
// leaves the subject's own bytes in the copy, its directory too.
LibtiffRoadEnd LibtiffPass::RowByRow() {
    if (!MakeRoomAtTheEnd()) return Failed("the copy's strips can't be written");
    LibtiffFile copy(files_.output, files_.outputName, "r+m");
    if (!copy.Handle()) return Failed(copy.Error());
    TIFF* tif = copy.Handle();
    TIFFWriteBufferSetup(tif, nullptr, 1 << 20);
    data_.resize(static_cast<std::size_t>(TIFFScanlineSize64(image_.Handle())));
    for (std::uint16_t k = 0; k < ColourPlanes(); ++k) {
        LibtiffFile plane(TIFFFileName(image_.Handle()), LibtiffFile::Mapped{});
        for (std::uint32_t y = 0; y < image_.height; ++y) {
            if (!plane.Handle() || TIFFReadScanline(plane.Handle(), data_.data(), y, k) < 0)
                return Failed(plane.Error().empty()
                                  ? "libtiff can't decode row " + std::to_string(y)
                                  : plane.Error());
            if (y % kReleaseRows == kReleaseRows - 1) plane.Release();
            const int colour = ColourPlanes() == 3 ? k : -1;
            if (!Row({y, 0, image_.width, colour}, data_.data(), false)) {
                copy.Stop();
                CopyAround(TIFFFileName(image_.Handle()), files_.output, {});
                return Cancelled();
            }
            if (TIFFWriteScanline(tif, data_.data(), y, k) < 0)
                return Failed(copy.Error().empty() ? "a row can't be written" : copy.Error());
        }
    }
    const LibtiffRoadEnd end = Finish(&copy);
    if (end.end == RowPassEnd::Written && files_.leftOut)
        for (std::uint32_t k = 0; k < image_.Chunks(); ++k)
            files_.leftOut->Written(k, static_cast<off_t>(TIFFGetStrileOffset(image_.Handle(), k)),
                                    std::numeric_limits<off_t>::max());
    return end;
}

LibtiffRoadEnd LibtiffPass::Finish(LibtiffFile* copy) {
    LibtiffRoadEnd end;
    if (copy) {
        end.droppedLayers = DropLayerData(*copy);
        if (!TIFFFlush(copy->Handle())) return Failed("the copy's directory can't be written");
    }
    host_.EqualizeProgress().SetVisible(false);
    return end;
}
}  // namespace

std::vector<ByteRange> RewrittenRanges(const LibtiffFile& subject) {
    std::vector<ByteRange> ranges;
    for (std::uint32_t chunk = 0; chunk < subject.Chunks(); ++chunk) {
        const std::uint64_t start = TIFFGetStrileOffset(subject.Handle(), chunk);
        const std::uint64_t length = TIFFGetStrileByteCount(subject.Handle(), chunk);
        constexpr std::uint64_t kFar = std::numeric_limits<off_t>::max();
        const std::uint64_t first = std::min(start, kFar);
        // An extra sample's plane is kept: a range that holds nothing. Rows
        // written in place cover their rows, not bytes a strip claims beyond.
        const LibtiffFile::Place place = subject.PlaceOf(chunk);
        const std::uint64_t rows = std::uint64_t{place.rows} * place.rowBytes;
        const std::uint64_t bytes = subject.RowsInPlace() ? std::min(length, rows) : length;
        const std::uint64_t last = Rewritten(place) ? first + std::min(bytes, kFar - first) : first;
        ranges.emplace_back(first, last);
    }
    return ranges;
}

LibtiffRoadEnd RunLibtiffRoad(const LibtiffRoadFiles& files, RowPassHost& host,
                              PassPictures& pictures) {
    return LibtiffPass(files, host, pictures).Run();
}
