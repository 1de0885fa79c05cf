#include "EqualizeCommand.h"

#include <atomic>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

#include "Correction.h"
#include "EqualizeOptions.h"
#include "ExitCodes.h"
#include "OutputFileName.h"
#include "SubjectFiles.h"
#include "SubjectJob.h"
#include "TerminalHost.h"
#include "WhiteCard.h"

namespace {
// Runs the subjects on a number of threads and prints each result line as soon
// as every line before it is out, so the output keeps the order given.
class SubjectRun {
  public:
    SubjectRun(const std::vector<std::string>& subjects, const JobSettings& settings,
               std::ostream& out, std::ostream* terminal)
        : subjects_(subjects),
          settings_(settings),
          out_(out),
          terminal_(terminal),
          results_(subjects.size()) {}

    // True when every subject was written.
    bool Run(int jobs);
    // Marks a subject as done before any job starts.
    void Settle(std::size_t index, SubjectResult result) { results_[index] = std::move(result); }

  private:
    void Work();
    void Report(std::size_t index, SubjectResult result);

    const std::vector<std::string>& subjects_;
    const JobSettings& settings_;
    std::ostream& out_;
    std::ostream* terminal_;
    std::vector<std::optional<SubjectResult>> results_;
    std::atomic<std::size_t> next_{0};
    std::size_t printed_ = 0;
    bool allWritten_ = true;
    std::mutex lock_;          // results_, printed_, allWritten_, out_
    std::mutex terminalLock_;  // the progress line
};

void SubjectRun::Report(std::size_t index, SubjectResult result) {
    const std::lock_guard<std::mutex> hold(lock_);
    results_[index] = std::move(result);
    while (printed_ < results_.size() && results_[printed_]) {
        const SubjectResult& ready = *results_[printed_++];
        if (ready.outcome != SubjectOutcome::Written) allWritten_ = false;
        out_ << ready.line << "\n" << std::flush;
    }
}

void SubjectRun::Work() {
    for (std::size_t k = next_++; k < subjects_.size(); k = next_++) {
        if (results_[k]) {
            Report(k, *results_[k]);
            continue;
        }
        const std::string name = std::filesystem::path(subjects_[k]).filename().string();
        TerminalHost host(terminal_, terminalLock_, name);
        Report(k, EqualizeSubject(subjects_[k], settings_, host, k));
    }
}

bool SubjectRun::Run(int jobs) {
    const std::size_t threads =
        std::min<std::size_t>(static_cast<std::size_t>(jobs), subjects_.size());
    {
        std::vector<std::jthread> pool;
        for (std::size_t t = 1; t < threads; ++t) pool.emplace_back([this] { Work(); });
        Work();
    }
    return allWritten_;
}
std::filesystem::path Resolved(const std::filesystem::path& path) {
    std::error_code ec;
    const auto resolved = std::filesystem::weakly_canonical(std::filesystem::absolute(path), ec);
    return ec ? path : resolved;
}

// Outputs that would clash are settled before any job starts, so parallel jobs
// never race for one file: of two subjects with one output name (a.tif and
// a.tiff) the first one given keeps it, and an output that would replace one
// of the subjects themselves is never written.
void SettleClashes(const std::vector<std::string>& subjects, const FolderItem& folder,
                   SubjectRun& run) {
    std::set<std::filesystem::path> inputs;
    for (const std::string& subject : subjects) inputs.insert(Resolved(subject));
    std::map<std::string, std::string> owners;
    for (std::size_t k = 0; k < subjects.size(); ++k) {
        const std::string name = std::filesystem::path(subjects[k]).filename().string();
        const std::string output = CreateOutputFileName(name);
        const auto [owner, fresh] = owners.emplace(output, name);
        if (!fresh)
            run.Settle(k, {SubjectOutcome::Skipped,
                           name + ": skipped: " + owner->second + " has the same output name"});
        else if (inputs.count(Resolved(folder.Path() / output)))
            run.Settle(k, {SubjectOutcome::Skipped,
                           name + ": skipped: its output would replace the subject " + output});
    }
}
}  // namespace

int RunEqualize(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                std::ostream* terminal) {
    EqualizeOptions options;
    std::string error;
    if (!options.Parse(args, error)) {
        err << "brisavane-cli equalize: " << error << "\n" << kEqualizeUsage << "\n";
        return kExitUnusable;
    }
    const auto folder = GetFolderItem(std::filesystem::absolute(options.output).string());
    if (!folder || !folder->Directory()) {
        err << "brisavane-cli equalize: the output folder doesn't exist: " << options.output
            << "\n";
        return kExitUnusable;
    }
    const auto white = LoadWhiteCard(options.white, error);
    if (!white) {
        err << error << "\n";
        return kExitUnusable;
    }
    const JobSettings settings{
        *white, TargetLevel(white->MaxLuminance, white->MinLuminance, options.amountToApply),
        *folder, options.overwrite};
    const std::vector<std::string> subjects = ExpandSubjects(options.subjects);
    if (subjects.empty()) {
        err << "brisavane-cli equalize: no subject file found\n";
        return kExitSomeFailed;
    }
    SubjectRun run(subjects, settings, out, terminal);
    SettleClashes(subjects, *folder, run);
    return run.Run(options.jobs) ? kExitOk : kExitSomeFailed;
}
