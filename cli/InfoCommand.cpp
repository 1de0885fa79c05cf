#include "InfoCommand.h"

#include <filesystem>
#include <optional>
#include <utility>

#include "ExitCodes.h"
#include "NumberText.h"
#include "TiffOpening.h"

namespace {
constexpr const char* kUsage = "usage: brisavane-cli info FILE [--profile OUT]\n";

struct InfoArgs {
    std::string file;
    std::optional<std::string> profileOut;
};

std::optional<InfoArgs> ParseInfoArgs(const std::vector<std::string>& args) {
    InfoArgs parsed;
    bool haveFile = false;
    for (std::size_t k = 0; k < args.size(); ++k) {
        if (args[k] == "--profile") {
            if (parsed.profileOut || k + 1 == args.size()) return std::nullopt;
            parsed.profileOut = args[++k];
        } else if (haveFile || args[k].starts_with("--")) {
            return std::nullopt;
        } else {
            parsed.file = args[k];
            haveFile = true;
        }
    }
    if (!haveFile) return std::nullopt;
    return parsed;
}

std::string Flag(bool value) {
    return value ? "True" : "False";
}
std::string Number(std::int64_t value) {
    return std::to_string(value);
}

std::string StreamState(const std::shared_ptr<BinaryStream>& stream) {
    if (!stream) return "nil";
    return stream->IsOpen() ? "open" : "closed";
}

std::string BlockText(const std::shared_ptr<MemoryBlock>& block) {
    return block ? std::to_string(block->Size()) + " bytes" : "nil";
}

std::string BoundsText(const FloatArray3& array) {
    return "upper bounds " + Number(array.UBound(0)) + ", " + Number(array.UBound(1)) + ", " +
           Number(array.UBound(2));
}

void PrintRecord(const TiffFile& t, std::ostream& out) {
    const std::pair<const char*, std::string> lines[] = {
        {"BitsPerSample", Number(t.BitsPerSample)},
        {"BytesPerPixel", Number(t.BytesPerPixel)},
        {"BytesPerRow", Number(t.BytesPerRow)},
        {"Compression", Number(t.Compression)},
        {"Configuration", Number(t.Configuration)},
        {"ImageOffset", Number(t.ImageOffset)},
        {"ImageWidth", Number(t.ImageWidth)},
        {"Interpretation", Number(t.Interpretation)},
        {"RowsPerStrip", Number(t.RowsPerStrip)},
        {"SamplesPerPixel", Number(t.SamplesPerPixel)},
        {"errstr", t.errstr},
        {"fi", t.fi ? t.fi->NativePath() : "nil"},
        {"imagefile", StreamState(t.imagefile)},
        {"ImageHeight", Number(t.ImageHeight)},
        {"imageBuffer", BlockText(t.imageBuffer)},
        {"ProfileLength", Number(t.ProfileLength)},
        {"ProfileOffset", Number(t.ProfileOffset)},
        {"StripByteCount", Number(t.StripByteCount)},
        {"LittleEndian", Flag(t.LittleEndian)},
        {"profileBuffer", BlockText(t.profileBuffer)},
        {"img", BoundsText(t.img)},
        {"MaxLuminance", CStr(t.MaxLuminance)},
        {"PixelCount", Number(t.PixelCount)},
        {"SwapBytes", Flag(t.SwapBytes)},
        {"HostLittleEndian", Flag(t.HostLittleEndian)},
        {"pxmax", Number(t.pxmax)},
        {"pymax", Number(t.pymax)},
        {"MinLuminance", CStr(t.MinLuminance)},
    };
    for (const auto& [name, value] : lines) out << name << ": " << value << "\n";
}

std::shared_ptr<FolderItem> ItemFor(const std::string& path) {
    return GetFolderItem(std::filesystem::absolute(path).string());
}

int WriteProfile(TiffFile& tiff, const std::string& path, std::ostream& err) {
    const auto target = ItemFor(path);
    std::error_code ec;
    if (!target || std::filesystem::equivalent(target->Path(), tiff.fi->Path(), ec)) {
        err << "Error: The profile can't be written to " << path << "\n";
        return kExitUnusable;
    }
    if (!tiff.ReadProfile()) {
        err << (tiff.ProfileLength == 0 || tiff.ProfileOffset == 0
                    ? "Error: The file carries no ICC profile.\n"
                    : "Error: The file's ICC profile lies past its end.\n");
        return kExitUnusable;
    }
    const auto stream = BinaryStream::Create(*target, true);
    if (stream) {
        stream->Write(tiff.profileBuffer->Data(), tiff.profileBuffer->Size());
        stream->Close();
    }
    if (!stream || stream->LastErrorCode() != 0) {
        err << "Error: The profile can't be written to " << path << "\n";
        return kExitUnusable;
    }
    return kExitOk;
}
}  // namespace

int RunInfo(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    const auto parsed = ParseInfoArgs(args);
    if (!parsed) {
        err << kUsage;
        return kExitUnusable;
    }
    try {
        TiffFile tiff;
        const TiffOpening opening = OpenTiffPath(tiff, parsed->file);
        if (opening == TiffOpening::Missing || opening == TiffOpening::Unopenable) {
            err << "Error: The file can't be opened: " << parsed->file << "\n";
            return kExitUnusable;
        }
        if (opening == TiffOpening::Refused) {
            err << tiff.errstr << "\n";
            return kExitUnusable;
        }
        PrintRecord(tiff, out);
        return parsed->profileOut ? WriteProfile(tiff, *parsed->profileOut, err) : kExitOk;
    } catch (const std::exception& e) {
        err << "Error: " << e.what() << "\n";
        return kExitUnusable;
    }
}
