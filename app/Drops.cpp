#include "Drops.h"

#include "FileTypes.h"

namespace fs = std::filesystem;

namespace {
bool IsTiff(const fs::path& path) {
    std::error_code ec;
    const FileTypes& types = FileTypes::Instance();
    return fs::is_regular_file(path, ec) &&
           types.TypeOf(path.filename().string()) == types.ImageTiff().Name;
}

DropPlan Refused(std::string why) {
    return {DropPlan::Kind::Refuse, {}, {}, std::move(why)};
}

DropPlan OnWhiteImage(const std::vector<fs::path>& paths) {
    if (paths.size() != 1) return Refused("Drop one TIFF file here: it opens as the white card.");
    if (!IsTiff(paths.front()))
        return Refused("Not a TIFF file: " + paths.front().filename().string());
    return {DropPlan::Kind::OpenCard, paths.front(), {}, {}};
}

DropPlan OnSubjects(const std::vector<fs::path>& paths) {
    std::error_code ec;
    if (paths.size() == 1 && fs::is_directory(paths.front(), ec))
        return {DropPlan::Kind::ChooseFolder, paths.front(), {}, {}};
    DropPlan plan{DropPlan::Kind::ChooseAndTick, {}, {}, {}};
    for (const fs::path& path : paths) {
        if (!IsTiff(path)) return Refused("Not a TIFF file: " + path.filename().string());
        if (plan.path.empty()) plan.path = path.parent_path();
        if (path.parent_path() != plan.path)
            return Refused("The files come from several folders: drop those of one folder.");
        plan.names.insert(path.filename().string());
    }
    return paths.empty() ? Refused("Nothing to drop.") : plan;
}
}  // namespace

DropPlan PlanDrop(DropArea area, const std::vector<fs::path>& paths, bool batchRunning) {
    if (batchRunning) return Refused("Nothing can be dropped while the batch runs.");
    return area == DropArea::WhiteImage ? OnWhiteImage(paths) : OnSubjects(paths);
}
