#include "RowPass.h"

#include <stdexcept>

#include "Exceptions.h"
#include "LeftOutCopy.h"
#include "MemoryBlock.h"
#include "PreviewGeometry.h"
#include "RowReader.h"
#include "SubjectCorrection.h"

namespace {
// The row buffers, made once for each file.
struct RowBuffers {
    explicit RowBuffers(std::size_t length) : subject(length), output(length) {}
    MemoryBlock subject;
    MemoryBlock output;
};

class FilePass {
  public:
    FilePass(const RowPassFiles& files, RowPassHost& host)
        : files_(files),
          tiff_(files.subject),
          subjectStream_(Deref(tiff_.imagefile)),
          host_(host),
          // A file with no rows needs no row buffers, whatever its width says.
          layout_(PixelLayout::For(tiff_.BytesPerPixel, subjectStream_.LittleEndian,
                                   tiff_.ImageHeight > 0 ? tiff_.BytesPerRow : 0)),
          rows_(layout_.rowBytes) {}

    RowPassEnd Run(std::shared_ptr<Picture>& presult);

  private:
    void SetUp(std::shared_ptr<Picture>& presult);
    void Correct(std::int64_t y, const std::uint8_t* subject);
    bool Cancelled();
    void Cancel();
    RowPassEnd Finish();

    const RowPassFiles& files_;
    TiffFile& tiff_;
    BinaryStream& subjectStream_;
    RowPassHost& host_;
    PixelLayout layout_;
    RowBuffers rows_;
    PreviewGeometry geometry_;
};

void FilePass::SetUp(std::shared_ptr<Picture>& presult) {
    geometry_ = StartPass(host_, tiff_.ImageWidth, tiff_.ImageHeight, files_.outputName, presult);
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

// The row's whole pixels from the subject's row into the output's.
void FilePass::Correct(std::int64_t y, const std::uint8_t* subject) {
    const SampleSpan span{rows_.output.Data(), layout_.pixels,    3,      0, 3,
                          layout_.sampleBytes, layout_.Swapped(), subject};
    if (!files_.correction.Correct(static_cast<std::uint32_t>(y), 0, span))
        throw std::runtime_error("the white card's rows can't be read");
}

// Rows go to the output at their own places, straight from the row buffer.
RowPassEnd FilePass::Run(std::shared_ptr<Picture>& presult) {
    files_.output.LittleEndian = tiff_.LittleEndian;
    files_.output.SetPosition(tiff_.ImageOffset);
    std::int64_t at = files_.output.Position();
    RowReader subjectRows(subjectStream_, tiff_.ImageOffset, layout_.rowBytes);
    SetUp(presult);
    const std::size_t length = layout_.rowBytes;
    Picture& preview = *presult;
    Progress& bar = host_.EqualizeProgress();
    std::int64_t previewRow = 0;
    for (std::int64_t y = 0; y < tiff_.ImageHeight; ++y) {
        const std::uint8_t* subject = subjectRows.Next(rows_.subject);
        const bool sampled = y % geometry_.rowStep == 0;
        if (Cancelled()) {
            Cancel();
            return RowPassEnd::Cancelled;
        }
        Correct(y, subject);
        if (sampled && length > 0 && host_.ShowPreviews())
            SamplePreviewRow(geometry_, SampleRow::Of(rows_.output.Data(), layout_), 0,
                             static_cast<std::int64_t>(layout_.pixels), layout_.EightBit(), preview,
                             previewRow);
        if (files_.output.WriteAt(at, rows_.output.Data(), length) && files_.leftOut)
            files_.leftOut->Written(0, at, at + static_cast<std::int64_t>(length));
        at += static_cast<std::int64_t>(length);
        bar.SetValue(static_cast<double>(y));
        bar.Refresh();
        host_.Events().DoEvents();
        if (sampled) ++previewRow;
    }
    return Finish();
}
}  // namespace

RowPassEnd RunRowPass(const RowPassFiles& files, RowPassHost& host,
                      std::shared_ptr<Picture>& presult) {
    return FilePass(files, host).Run(presult);
}

PreviewGeometry StartPass(RowPassHost& host, std::int64_t width, std::int64_t height,
                          const std::string& outputName, std::shared_ptr<Picture>& result) {
    Progress& bar = host.EqualizeProgress();
    bar.SetMaximum(height);
    bar.SetValue(0);
    bar.SetVisible(true);
    host.SetSubjectStatus("Saving file: " + outputName);
    const CanvasSize canvas = host.ResultCanvas();
    const PreviewGeometry geometry =
        PreviewGeometry::For(width, height, canvas.width, canvas.height);
    result = std::make_shared<Picture>(geometry.width, geometry.height, 32);
    return geometry;
}
