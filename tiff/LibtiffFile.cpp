#include "LibtiffFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include <tuple>
#include "PositionedIO.h"

namespace {
// The compressions that give back exactly the bytes they were given.
bool Lossless(std::uint16_t compression) {
    switch (compression) {
        case COMPRESSION_NONE:
        case COMPRESSION_LZW:
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_DEFLATE:
        case COMPRESSION_ZSTD:
        case COMPRESSION_LZMA:
        case COMPRESSION_PACKBITS:
            return true;
        default:
            return false;
    }
}

bool Lossy(std::uint16_t compression) {
    return compression == COMPRESSION_JPEG || compression == COMPRESSION_OJPEG ||
           compression == COMPRESSION_WEBP || compression == COMPRESSION_JXL;
}

std::string Photometric(std::uint16_t photometric) {
    switch (photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
            return "a greyscale TIFF";
        case PHOTOMETRIC_PALETTE:
            return "a palette TIFF";
        case PHOTOMETRIC_YCBCR:
            return "a YCbCr TIFF";
        case PHOTOMETRIC_SEPARATED:
            return "a CMYK TIFF";
        default:
            return "a TIFF of photometric interpretation " + std::to_string(photometric);
    }
}
}  // namespace

// The file libtiff works on, through calls of our own on a descriptor: so
// that a mapping's pages can be handed back, and so that writing can be
// stopped outright, leaving the file as far as it was written.
struct LibtiffFile::Client {
    int fd = -1;
    void* base = nullptr;
    std::size_t size = 0;
    bool stopped = false;
    // The client's own place in the file: a descriptor duplicated for another
    // handle on the same file shares the system's.
    off_t at = 0;

    ~Client() {
        if (base) ::munmap(base, size);
        if (fd >= 0) ::close(fd);
    }
    static Client& Of(thandle_t handle) { return *static_cast<Client*>(handle); }
    static tmsize_t Read(thandle_t h, void* buffer, tmsize_t size) {
        Client& c = Of(h);
        const std::size_t got = ReadAtPlace(c.fd, static_cast<std::uint8_t*>(buffer),
                                            static_cast<std::size_t>(size), c.at);
        c.at += static_cast<off_t>(got);
        return static_cast<tmsize_t>(got);
    }
    static tmsize_t Write(thandle_t h, void* buffer, tmsize_t size) {
        Client& c = Of(h);
        if (c.stopped || !WriteAtPlace(c.fd, static_cast<const std::uint8_t*>(buffer),
                                       static_cast<std::size_t>(size), c.at))
            return -1;
        c.at += static_cast<off_t>(size);
        return size;
    }
    static toff_t Seek(thandle_t h, toff_t offset, int whence) {
        Client& c = Of(h);
        const off_t base = whence == SEEK_CUR   ? c.at
                           : whence == SEEK_END ? static_cast<off_t>(Size(h))
                                                : 0;
        const off_t place = base + static_cast<off_t>(offset);
        if (place < 0) return static_cast<toff_t>(-1);
        c.at = place;
        return static_cast<toff_t>(place);
    }
    static int Close(thandle_t) { return 0; }
    static toff_t Size(thandle_t h) {
        struct stat status {};
        return ::fstat(Of(h).fd, &status) == 0 ? static_cast<toff_t>(status.st_size) : 0;
    }
    static int Map(thandle_t h, void** base, toff_t* size) {
        Client& c = Of(h);
        const toff_t length = Size(h);
        if (length == 0 || length > SIZE_MAX) return 0;
        void* mapped = ::mmap(nullptr, length, PROT_READ, MAP_PRIVATE, c.fd, 0);
        if (mapped == MAP_FAILED) return 0;
        ::madvise(mapped, length, MADV_SEQUENTIAL);
        c.base = *base = mapped;
        c.size = length;
        *size = length;
        return 1;
    }
    static void Unmap(thandle_t h, void*, toff_t) {
        Client& c = Of(h);
        if (c.base) ::munmap(c.base, c.size);
        c.base = nullptr;
    }
};

// Words spoken outside any open file would otherwise reach stderr. libtiff
// maps the file where the mode lacks "m".
void LibtiffFile::Open(int fd, const std::string& name, const char* mode) {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    client_ = std::make_unique<Client>();
    client_->fd = fd;
    if (fd < 0) return;
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(kLargestChunk));
    TIFFOpenOptionsSetErrorHandlerExtR(options, Capture, &error_);
    TIFFOpenOptionsSetWarningHandlerExtR(
        options, [](TIFF*, void*, const char*, const char*, va_list) { return 1; }, nullptr);
    tif_ = TIFFClientOpenExt(name.c_str(), mode, client_.get(), Client::Read, Client::Write,
                             Client::Seek, Client::Close, Client::Size, Client::Map, Client::Unmap,
                             options);
    TIFFOpenOptionsFree(options);
    if (tif_) ReadFields();
}

LibtiffFile::LibtiffFile(const std::string& path, const char* mode) {
    const bool update = std::string_view(mode).find('+') != std::string_view::npos;
    Open(::open(path.c_str(), (update ? O_RDWR : O_RDONLY) | O_CLOEXEC), path, mode);
}

LibtiffFile::LibtiffFile(int fd, const std::string& name, const char* mode) {
    Open(::dup(fd), name, mode);
}

LibtiffFile::LibtiffFile(const std::string& path, Mapped) : LibtiffFile(path, "r") {}

LibtiffFile::~LibtiffFile() {
    if (tif_) TIFFClose(tif_);
}

void LibtiffFile::Release() {
    if (client_->base) ::madvise(client_->base, client_->size, MADV_DONTNEED);
}

int LibtiffFile::Descriptor() const {
    return client_->fd;
}

void LibtiffFile::Stop() {
    client_->stopped = true;
}

int LibtiffFile::Capture(TIFF*, void* user, const char* module, const char* fmt, va_list args) {
    char text[512];
    std::vsnprintf(text, sizeof text, fmt, args);
    auto& error = *static_cast<std::string*>(user);
    if (error.empty()) error = std::string(module ? module : "libtiff") + ": " + text;
    return 1;
}

void LibtiffFile::ReadFields() {
    TIFFGetField(tif_, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tif_, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tif_, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tif_, TIFFTAG_SAMPLESPERPIXEL, &samples);
    std::uint16_t* kinds = nullptr;
    TIFFGetFieldDefaulted(tif_, TIFFTAG_EXTRASAMPLES, &extras, &kinds);
    TIFFGetFieldDefaulted(tif_, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetField(tif_, TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetFieldDefaulted(tif_, TIFFTAG_COMPRESSION, &compression);
    if (!TIFFGetField(tif_, TIFFTAG_PREDICTOR, &predictor)) predictor = PREDICTOR_NONE;
    TIFFGetFieldDefaulted(tif_, TIFFTAG_SAMPLEFORMAT, &sampleFormat);
    TIFFGetFieldDefaulted(tif_, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
    tiled = TIFFIsTiled(tif_) != 0;
    if (tiled) {
        TIFFGetField(tif_, TIFFTAG_TILEWIDTH, &tileWidth);
        TIFFGetField(tif_, TIFFTAG_TILELENGTH, &tileLength);
    }
    bigTiff = TIFFIsBigTIFF(tif_) != 0;
    bigEndian = TIFFIsBigEndian(tif_) != 0;
}

std::string LibtiffFile::Unusable() const {
    const std::string depth = std::to_string(bits) + "-bit";
    if (Lossy(compression))
        return "a TIFF with lossy compression " + std::to_string(compression) +
               ": it would have to be re-encoded with a loss";
    if (!Lossless(compression) || !TIFFIsCODECConfigured(compression))
        return "a TIFF with compression " + std::to_string(compression) +
               ", which can't be rewritten";
    if (predictor != PREDICTOR_NONE && predictor != PREDICTOR_HORIZONTAL)
        return "a TIFF with predictor " + std::to_string(predictor) +
               ": only none or horizontal differencing can be rewritten";
    if (photometric != PHOTOMETRIC_RGB)
        return Photometric(photometric) + ": only RGB can be equalized";
    if (sampleFormat == SAMPLEFORMAT_IEEEFP)
        return "a TIFF of " + depth +
               " floating-point samples: only 8- or 16-bit unsigned "
               "integers can be equalized";
    if (sampleFormat != SAMPLEFORMAT_UINT || (bits != 8 && bits != 16))
        return "a TIFF of " + depth +
               " samples: only 8- or 16-bit unsigned integers can be "
               "equalized";
    if (samples < extras || samples - extras != 3)
        return "a TIFF of " + std::to_string(samples - std::min(samples, extras)) +
               " colour samples a pixel: only 3 (RGB) can be equalized";
    if (width == 0 || height == 0) return "a TIFF with no pixels";
    if (BandRows() == 0 || (tiled && tileWidth == 0)) return "a TIFF of empty strips or tiles";
    if (ChunkBytes() == 0) return "a TIFF of empty strips or tiles";
    // Strips of any size are read a band or a row at a time; a tile is
    // decoded whole, and a row of tiles is held while it is worked on.
    const std::uint64_t band = std::uint64_t{width} * BandRows() * samples * SampleBytes();
    if (tiled && (ChunkBytes() > kLargestChunk || band > kLargestChunk))
        return "a TIFF whose rows of tiles would each decode to more than 256 MiB";
    return "";
}

bool LibtiffFile::SameLayout(const LibtiffFile& other) const {
    const auto fields = [](const LibtiffFile& f) {
        return std::tuple(f.width, f.height, f.bits, f.samples, f.extras, f.planar, f.photometric,
                          f.compression, f.predictor, f.sampleFormat, f.rowsPerStrip, f.tileWidth,
                          f.tileLength, f.tiled, f.Chunks(), f.ChunkBytes());
    };
    return fields(*this) == fields(other);
}

bool LibtiffFile::OneStripPlain() const {
    return compression == COMPRESSION_NONE && planar == PLANARCONFIG_CONTIG &&
           photometric == PHOTOMETRIC_RGB && samples == 3 && extras == 0 &&
           sampleFormat == SAMPLEFORMAT_UINT && (bits == 8 || bits == 16) && !tiled && !bigTiff &&
           rowsPerStrip == height && TIFFNumberOfStrips(tif_) == 1;
}

bool LibtiffFile::RowsInPlace() const {
    std::uint16_t fillOrder = FILLORDER_MSB2LSB;
    return compression == COMPRESSION_NONE && !tiled && (bits == 8 || bits == 16) &&
           TIFFGetFieldDefaulted(tif_, TIFFTAG_FILLORDER, &fillOrder) &&
           fillOrder == FILLORDER_MSB2LSB;
}

bool LibtiffFile::RowByRow() const {
    return !tiled && !RowsInPlace() && ChunkBytes() > kHeldChunk;
}

std::uint64_t LibtiffFile::ChunkBytes() const {
    return static_cast<std::uint64_t>(tiled ? TIFFTileSize64(tif_) : TIFFStripSize64(tif_));
}

std::uint32_t LibtiffFile::Chunks() const {
    return tiled ? TIFFNumberOfTiles(tif_) : TIFFNumberOfStrips(tif_);
}

LibtiffFile::Place LibtiffFile::PlaceOf(std::uint32_t chunk) const {
    const std::size_t pixelBytes = ChunkSamples() * SampleBytes();
    if (!tiled) {
        const std::uint32_t perPlane =
            std::max(TIFFNumberOfStrips(tif_) / (planar == 1 ? 1 : samples), 1u);
        const std::uint32_t y = (chunk % perPlane) * rowsPerStrip;
        return {chunk / perPlane,  0, y, width, std::min(rowsPerStrip, height - y),
                width * pixelBytes};
    }
    const std::uint32_t across = (width + tileWidth - 1) / tileWidth;
    const std::uint32_t down = (height + tileLength - 1) / tileLength;
    const std::uint32_t inPlane = chunk % (across * down);
    const std::uint32_t x = inPlane % across * tileWidth, y = inPlane / across * tileLength;
    return {chunk / (across * down),
            x,
            y,
            std::min(tileWidth, width - x),
            std::min(tileLength, height - y),
            tileWidth * pixelBytes};
}

std::string LibtiffFile::ChunkProblem(std::uint32_t chunk, std::uint64_t needed) const {
    const std::string what = (tiled ? "tile " : "strip ") + std::to_string(chunk);
    const std::uint64_t start = TIFFGetStrileOffset(tif_, chunk);
    const std::uint64_t count = TIFFGetStrileByteCount(tif_, chunk);
    if (start == 0 || count == 0) return what + " is missing from the file";
    const std::uint64_t size = Client::Size(client_.get());
    if (count < needed || start > size || size - start < needed) return what + " is cut short";
    return "";
}

tmsize_t LibtiffFile::ReadChunk(std::uint32_t chunk, std::uint8_t* buffer) {
    if (const std::string problem = ChunkProblem(chunk, 1); !problem.empty()) {
        if (error_.empty()) error_ = problem;
        return -1;
    }
    const auto size = static_cast<tmsize_t>(ChunkBytes());
    const tmsize_t got = tiled ? TIFFReadEncodedTile(tif_, chunk, buffer, size)
                               : TIFFReadEncodedStrip(tif_, chunk, buffer, size);
    if (got < 0 && error_.empty())
        error_ = "libtiff can't decode strip or tile " + std::to_string(chunk);
    return got;
}

std::uint32_t LibtiffFile::BandRows() const {
    return std::min(tiled ? tileLength : rowsPerStrip, height);
}
