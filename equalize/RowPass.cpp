#include "RowPass.h"

#include "CopyAroundRows.h"
#include "Exceptions.h"
#include "MemoryBlock.h"
#include "PreviewGeometry.h"
#include "RowCorrection.h"
#include "RowReader.h"

namespace {
// The three row buffers, made once for each file.
struct RowBuffers {
    explicit RowBuffers(std::size_t length) : subject(length), white(length), output(length) {}
    MemoryBlock subject;
    MemoryBlock white;
    MemoryBlock output;
};

class FilePass {
  public:
    FilePass(const RowPassFiles& files, double targetLevel, RowPassHost& host)
        : files_(files),
          tiff_(files.subject),
          subjectStream_(Deref(tiff_.imagefile)),
          host_(host),
          targetLevel_(targetLevel),
          // A file with no rows needs no row buffers, whatever its width says.
          layout_(PixelLayout::For(tiff_.BytesPerPixel, subjectStream_.LittleEndian,
                                   tiff_.ImageHeight > 0 ? tiff_.BytesPerRow : 0)),
          rows_(layout_.rowBytes) {}

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
    PixelLayout layout_;
    RowBuffers rows_;
    PreviewGeometry geometry_;
};

void FilePass::SetUp(std::shared_ptr<Picture>& presult) {
    Progress& bar = host_.EqualizeProgress();
    bar.SetMaximum(tiff_.ImageHeight);
    bar.SetValue(0);
    bar.SetVisible(true);
    host_.SetSubjectStatus("Saving file: " + files_.outputName);

    const CanvasSize canvas = host_.ResultCanvas();
    geometry_ = PreviewGeometry::For(tiff_.ImageWidth, tiff_.ImageHeight, tiff_.BytesPerPixel,
                                     canvas.width, canvas.height);
    presult = std::make_shared<Picture>(geometry_.width, geometry_.height, 32);
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

// Rows go to the output at their own places, straight from the row buffer.
RowPassEnd FilePass::Run(std::shared_ptr<Picture>& presult) {
    files_.output.LittleEndian = tiff_.LittleEndian;
    files_.output.SetPosition(tiff_.ImageOffset);
    std::int64_t at = files_.output.Position();
    RowReader subjectRows(subjectStream_, tiff_.ImageOffset, layout_.rowBytes);
    RowReader whiteRows(files_.white, files_.whiteOffset, layout_.rowBytes);
    SetUp(presult);
    const std::size_t length = layout_.rowBytes;
    Picture& preview = *presult;
    Progress& bar = host_.EqualizeProgress();
    std::int64_t previewRow = 0;
    for (std::int64_t y = 0; y < tiff_.ImageHeight; ++y) {
        const std::uint8_t* subject = subjectRows.Next(rows_.subject);
        const std::uint8_t* white = files_.corrector ? nullptr : whiteRows.Next(rows_.white);
        const bool sampled = y % geometry_.rowStep == 0;
        if (Cancelled()) {
            Cancel();
            return RowPassEnd::Cancelled;
        }
        if (files_.corrector)
            files_.corrector->Correct(static_cast<std::uint32_t>(y), layout_, subject,
                                      rows_.output.Data());
        else
            CorrectRow(layout_, files_.white.LittleEndian, targetLevel_, subject, white,
                       rows_.output.Data());
        if (sampled && length > 0 && host_.ShowPreviews())
            SamplePreviewRow(geometry_, layout_, rows_.output.Data(), preview, previewRow);
        if (files_.output.WriteAt(at, rows_.output.Data(), length) && files_.leftOut)
            files_.leftOut->RowWritten(y);
        at += static_cast<std::int64_t>(length);
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
