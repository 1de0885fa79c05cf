#include "InfoCommand.h"

#include "LibtiffInfo.h"

#include <filesystem>
#include <utility>

#include "CommandParser.h"
#include "ExitCodes.h"
#include "NumberText.h"
#include "TiffOpening.h"

namespace {
struct InfoArgs {
    std::string file;
    std::string profileOut;  // empty: no profile wanted

    void Declare(CLI::App& app) {
        app.add_option("FILE", file, "The TIFF file to read.")->required();
        app.add_option("--profile", profileOut,
                       "Also save the file's embedded ICC profile, byte for byte, to OUT.")
            ->type_name("OUT")
            ->check(NonEmptyPath());
    }
};

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
    InfoArgs parsed;
    CommandParser parser("brisavane-cli info",
                         "Prints what the reader makes of a TIFF file, one line a property.",
                         kInfoUsage);
    if (const auto exit = parser.Parse(parsed, args, out, err)) return *exit;
    try {
        TiffFile tiff;
        const TiffOpening opening = OpenTiffPath(tiff, parsed.file);
        if (opening == TiffOpening::Missing || opening == TiffOpening::Unopenable) {
            err << "Error: The file can't be opened: " << parsed.file << "\n";
            return kExitUnusable;
        }
        if (opening == TiffOpening::Refused) {
            err << tiff.errstr << "\n";
            PrintLibtiffBlock(parsed.file, out);
            return kExitUnusable;
        }
        PrintRecord(tiff, out);
        PrintLibtiffBlock(parsed.file, out);
        return parsed.profileOut.empty() ? kExitOk : WriteProfile(tiff, parsed.profileOut, err);
    } catch (const std::exception& e) {
        err << "Error: " << e.what() << "\n";
        return kExitUnusable;
    }
}
