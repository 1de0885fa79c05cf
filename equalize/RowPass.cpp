#include "RowPass.h"

#include "Correction.h"
#include "Exceptions.h"
#include "MemoryBlock.h"
#include "PreviewGeometry.h"
#include "RowCorrection.h"
#include "Samples.h"

namespace {
// The three row buffers, made once for each file.
struct RowBuffers {
    explicit RowBuffers(std::size_t length) : subject(length), white(length), output(length) {}
    MemoryBlock subject;
    MemoryBlock white;
    MemoryBlock output;
};

// One preview pixel from a corrected output row: 8-bit samples as they are,
// 16-bit ones brought to 8 bits by truncating sample / 257.
std::uint32_t PreviewColour(const SampleFormat& format, const std::uint8_t* at, bool little) {
    const std::size_t w = format.width;
    const auto channel = [&](std::size_t k) {
        const std::uint16_t sample = LoadSample(at + k * w, w, little);
        return static_cast<std::uint32_t>(w == 1 ? sample : sample / 257.0);
    };
    return RGB(channel(0), channel(1), channel(2), 0);
}

// Puts the chosen pixels of one corrected row into preview row y. Only whole
// pixels count; the picture itself drops positions outside it.
void SampleRow(const PreviewGeometry& g, const SampleFormat& format, const MemoryBlock& row,
               Picture& picture, std::int64_t y) {
    const std::size_t whole = row.Size() / format.step * format.step;
    std::int64_t x = 0;
    for (std::size_t i = 0; i < whole; i += format.step) {
        if (!g.ChosenOffset(static_cast<std::int64_t>(i))) continue;
        picture.SetPixel(x, y, PreviewColour(format, row.Data() + i, row.LittleEndian));
        ++x;
    }
}

class FilePass {
  public:
    FilePass(const RowPassFiles& files, double targetLevel, RowPassHost& host)
        : files_(files),
          tiff_(files.subject),
          subjectStream_(Deref(tiff_.imagefile)),
          host_(host),
          targetLevel_(targetLevel),
          format_(SampleFormat::For(tiff_.BytesPerPixel)),
          // A file with no rows needs no row buffers, whatever its width says.
          rows_(tiff_.ImageHeight > 0 && tiff_.BytesPerRow > 0
                    ? static_cast<std::size_t>(tiff_.BytesPerRow)
                    : 0) {}

    RowPassEnd Run(std::shared_ptr<Picture>& presult);

  private:
    void SetUp(std::shared_ptr<Picture>& presult);
    bool Cancelled();
    void Cancel();
    RowPassEnd Finish();

    const RowPassFiles& files_;
    TiffFile& tiff_;
    BinaryStream& subjectStream_;
    RowPassHost& host_;
    double targetLevel_;
    SampleFormat format_;
    RowBuffers rows_;
    PreviewGeometry geometry_;
};

void FilePass::SetUp(std::shared_ptr<Picture>& presult) {
    files_.output.LittleEndian = tiff_.LittleEndian;
    files_.output.SetPosition(tiff_.ImageOffset);
    subjectStream_.SetPosition(tiff_.ImageOffset);
    files_.white.SetPosition(files_.whiteOffset);

    Progress& bar = host_.EqualizeProgress();
    bar.SetMaximum(tiff_.ImageHeight);
    bar.SetValue(0);
    bar.SetVisible(true);
    host_.SetSubjectStatus("Saving file: " + files_.outputName);

    const CanvasSize canvas = host_.ResultCanvas();
    geometry_ = PreviewGeometry::For(tiff_.ImageWidth, tiff_.ImageHeight, tiff_.BytesPerPixel,
                                     canvas.width, canvas.height);
    presult = std::make_shared<Picture>(geometry_.width, geometry_.height, 32);

    rows_.subject.LittleEndian = subjectStream_.LittleEndian;
    rows_.output.LittleEndian = subjectStream_.LittleEndian;
    rows_.white.LittleEndian = files_.white.LittleEndian;
}

// The user's request to stop can only arrive while events are pumped, which
// happens once a row, after the row is written. Asking once before a row's
// pixels is therefore observably the same as asking before each pixel: the
// answer can't change between two pixels of one row, and in both cases a
// cancel leaves the row in work unwritten. A row of no bytes asks nothing.
bool FilePass::Cancelled() {
    return rows_.subject.Size() > 0 && host_.Events().UserCancelled();
}

// The partial output keeps the rows written so far; it is closed here so that
// those bytes reach the file and no stream outlives the action.
void FilePass::Cancel() {
    host_.EqualizeProgress().SetVisible(false);
    host_.SetSubjectStatus("");
    files_.output.Close();
}

RowPassEnd FilePass::Finish() {
    const bool failed = files_.output.LastErrorCode() != 0;
    files_.output.Flush();
    files_.output.Close();
    subjectStream_.Close();
    return failed ? RowPassEnd::WriteFailed : RowPassEnd::Written;
}

RowPassEnd FilePass::Run(std::shared_ptr<Picture>& presult) {
    SetUp(presult);
    const std::size_t length = rows_.subject.Size();
    Picture& preview = *presult;
    Progress& bar = host_.EqualizeProgress();
    std::int64_t previewRow = 0;
    for (std::int64_t y = 0; y < tiff_.ImageHeight; ++y) {
        subjectStream_.Read(rows_.subject, length);
        files_.white.Read(rows_.white, length);
        const bool sampled = y % geometry_.rowStep == 0;
        if (Cancelled()) {
            Cancel();
            return RowPassEnd::Cancelled;
        }
        CorrectRow(format_, targetLevel_, rows_.subject.Data(), rows_.subject.LittleEndian,
                   rows_.white.Data(), rows_.white.LittleEndian, rows_.output.Data(), length);
        if (sampled && length > 0 && host_.ShowPreviews())
            SampleRow(geometry_, format_, rows_.output, preview, previewRow);
        files_.output.Write(rows_.output.Data(), length);
        bar.SetValue(static_cast<double>(y));
        bar.Refresh();
        host_.Events().DoEvents();
        if (sampled) ++previewRow;
    }
    return Finish();
}
}  // namespace

RowPassEnd RunRowPass(const RowPassFiles& files, double targetLevel, RowPassHost& host,
                      std::shared_ptr<Picture>& presult) {
    return FilePass(files, targetLevel, host).Run(presult);
}
