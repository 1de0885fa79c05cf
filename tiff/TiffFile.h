#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "BinaryStream.h"
#include "Dialogs.h"
#include "FloatArray3.h"
#include "FolderItem.h"
#include "MemoryBlock.h"
#include "Picture.h"
#include "Progress.h"

// Where a TiffFile reports and whom it asks. The window passes its progress
// bars and dialogs; the command-line tool and the tests pass their own.
struct TiffServices {
    Progress* analyzeProgress = &NoProgress::Instance();
    Progress* equalizeProgress = &NoProgress::Instance();
    Dialogs* dialogs = nullptr;
};

// The name of the file type that the open and save dialogs filter on.
inline constexpr const char* kImageTiffType = "image/tiff";

// One TIFF file on disk: the fields of its first image directory, the sizes
// derived from them, and a stream on the file. The program handles interleaved
// RGB in one strip, 8 or 16 bits a sample, in either byte order.
class TiffFile {
  public:
    explicit TiffFile(TiffServices services = {}) : services_(services) {}
    virtual ~TiffFile() = default;

    // The record, in its declared order.
    std::int64_t BitsPerSample = 0;
    std::int64_t BytesPerPixel = 0;
    std::int64_t BytesPerRow = 0;
    std::int64_t Compression = 0;
    std::int64_t Configuration = 0;
    std::int64_t ImageOffset = 0;
    std::int64_t ImageWidth = 0;
    std::int64_t Interpretation = 0;
    std::int64_t RowsPerStrip = 0;
    std::int64_t SamplesPerPixel = 0;
    std::string errstr;
    std::shared_ptr<FolderItem> fi;
    std::shared_ptr<BinaryStream> imagefile;
    std::int64_t ImageHeight = 0;
    std::shared_ptr<MemoryBlock> imageBuffer;
    std::int64_t ProfileLength = 0;
    std::int64_t ProfileOffset = 0;
    std::int64_t StripByteCount = 0;
    bool LittleEndian = false;
    std::shared_ptr<MemoryBlock> profileBuffer;
    FloatArray3 img;
    double MaxLuminance = 0.0;
    std::int64_t PixelCount = 0;
    bool SwapBytes = false;
    bool HostLittleEndian = false;
    std::int64_t pxmax = 0;
    std::int64_t pymax = 0;
    double MinLuminance = 0.0;

    // Parses the header and first directory of fi. True on failure, with the
    // words in errstr and the stream closed. False when parsed, and also when
    // fi is nil, in which case nothing at all is done.
    virtual bool OpenTIFF();
    // The same on a stream already open, such as bytes held in memory; fi is
    // left as it is.
    bool OpenTIFFFrom(std::shared_ptr<BinaryStream> source);
    // Loads every pixel row into imageBuffer, 16-bit samples in the host's
    // order. Throws IOException when the rows don't lie inside the file.
    virtual void ReadImage();
    // Loads the embedded ICC profile into profileBuffer; true when one of
    // non-zero size is there. False, with profileBuffer untouched, when the file
    // names none or names bytes past its end.
    virtual bool ReadProfile();
    // One pixel's three channels from the open imagefile: raw RGB samples, or
    // L* (0..100), a* and b* for Lab. x and y past the image read the last
    // column or row.
    virtual void GetTIFFPixel(std::int64_t x, std::int64_t y, double& first, double& second,
                              double& third);
    // 8-bit display RGB, each 0..255, of one L*a*b* triple.
    virtual void LabToRGB(double L, double a, double b, std::int64_t& red, std::int64_t& green,
                          std::int64_t& blue);
    // Expands the Lab raster of imageBuffer into img as (column, row, channel).
    virtual void LabIntToFloatArray();
    // The open and save dialogs, filtered by "image/tiff"; a cancel leaves fi nil.
    virtual void AskOpen();
    // A decimated picture of the file that fits width x height, read row by row
    // from the open imagefile; the image is never enlarged.
    virtual std::shared_ptr<Picture> MakeScaledPictureDisk(std::int64_t width, std::int64_t height);
    virtual void AskSave(const std::string& name);
    // Writes imageBuffer and profileBuffer to fi as a little-endian, one-strip,
    // uncompressed TIFF, replacing whatever fi held.
    virtual void WriteTIFF();
    // Brightest and darkest green sample of the whole buffer (after ReadImage).
    virtual void FindMaxLuminance();
    // The same, row by row from the file, with the place of the brightest sample.
    // Leaves its own stream open in imagefile.
    virtual void FindMaxLuminanceDisk();

    // True when ImageHeight rows (and at least one) of BytesPerRow bytes from
    // ImageOffset on lie inside the file and a row holds at least one byte, so
    // that streaming them needs no guesswork and no buffer outgrows the file.
    bool PixelDataWithinFile() const;

  protected:
    Progress& AnalyzeProgress() const { return *services_.analyzeProgress; }
    Progress& EqualizeProgress() const { return *services_.equalizeProgress; }
    Dialogs& FileDialogs() const;

  private:
    bool Refuse(const std::string& words);
    bool ReadEntry(MemoryBlock& entry);
    void ReadBitsPerSample(std::uint32_t offset, std::uint32_t count);
    void DeriveSizes();
    std::int64_t SourceLength() const;

    TiffServices services_;
};
