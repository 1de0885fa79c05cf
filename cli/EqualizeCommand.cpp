#include "EqualizeCommand.h"

#include <sched.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

#include "CardSource.h"
#include "CommandParser.h"
#include "EqualizeOptions.h"
#include "ExitCodes.h"
#include "JsonResults.h"
#include "OutputPlan.h"
#include "ResultLines.h"
#include "SubjectFiles.h"
#include "SubjectJob.h"
#include "TerminalHost.h"

namespace {
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Runs the subjects on a number of threads and prints each result as soon as
// every one before it is out, so the output keeps the order given.
class SubjectRun {
  public:
    SubjectRun(const std::vector<std::string>& subjects, const JobSettings& settings,
               std::ostream& out, std::ostream* terminal, bool json)
        : subjects_(subjects),
          settings_(settings),
          chosen_(subjects.size()),
          out_(out),
          json_(json),
          progress_(terminal, subjects.size()),
          results_(subjects.size()) {}

    // True when every subject was written or counted as done.
    bool Run(int jobs);
    // Marks a subject as done before any job starts.
    void Settle(std::size_t index, SubjectResult result) { results_[index] = std::move(result); }
    // Chooses the card of every subject left, and the order to run them in.
    void ChooseCards();

  private:
    void Work();
    void Report(std::size_t index, SubjectResult result);

    const std::vector<std::string>& subjects_;
    const JobSettings& settings_;
    std::vector<SubjectCard> chosen_;
    std::vector<std::size_t> order_;  // the subjects card by card
    std::ostream& out_;
    bool json_;
    ProgressLine progress_;
    std::vector<std::optional<SubjectResult>> results_;
    std::atomic<std::size_t> next_{0};
    std::size_t printed_ = 0;
    bool allDone_ = true;
    RunTotals totals_;
    std::mutex lock_;  // results_, printed_, allDone_, totals_, out_
};

void SubjectRun::Report(std::size_t index, SubjectResult result) {
    progress_.Finished(index);
    const std::lock_guard<std::mutex> hold(lock_);
    results_[index] = std::move(result);
    while (printed_ < results_.size() && results_[printed_]) {
        const SubjectResult& ready = *results_[printed_++];
        if (ready.outcome != SubjectOutcome::Written && !ready.done) allDone_ = false;
        totals_.Add(ready);
        progress_.Above([&] {
            out_ << (json_ ? JsonLine(ready) : ResultLine(ready)) << "\n" << std::flush;
        });
    }
}

void SubjectRun::ChooseCards() {
    for (std::size_t k = 0; k < subjects_.size(); ++k) {
        if (results_[k]) continue;
        chosen_[k] = settings_.cards.Choose(subjects_[k]);
        if (chosen_[k].group) settings_.cards.Expect(*chosen_[k].group);
    }
    order_ = RunCards::Order(chosen_);
}

void SubjectRun::Work() {
    for (std::size_t next = next_++; next < order_.size(); next = next_++) {
        const std::size_t k = order_[next];
        if (results_[k]) {
            Report(k, *results_[k]);
            continue;
        }
        const Clock::time_point start = Clock::now();
        const std::string name = std::filesystem::path(subjects_[k]).filename().string();
        TerminalHost host(progress_, k, name);
        SubjectResult result = EqualizeSubject(subjects_[k], chosen_[k], settings_, host, k);
        result.seconds = SecondsSince(start);
        Report(k, std::move(result));
    }
}

bool SubjectRun::Run(int jobs) {
    const Clock::time_point start = Clock::now();
    const std::size_t threads =
        std::min<std::size_t>(static_cast<std::size_t>(jobs), subjects_.size());
    {
        std::vector<std::jthread> pool;
        for (std::size_t t = 1; t < threads; ++t) pool.emplace_back([this] { Work(); });
        Work();
    }
    progress_.Clear();
    totals_.seconds = SecondsSince(start);
    if (json_) out_ << JsonTotals(totals_) << "\n" << std::flush;
    return allDone_;
}

// The cores this process may run on: fewer jobs than that leave one idle,
// which the correction modes give half of each row.
std::size_t CoresToRunOn() {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    if (::sched_getaffinity(0, sizeof cores, &cores) != 0) return 1;
    return static_cast<std::size_t>(CPU_COUNT(&cores));
}

// The subjects of --files-from, after those on the command line; false when
// the list can't be read.
bool AddListedSubjects(const std::string& list, std::vector<std::string>& subjects) {
    if (list.empty()) return true;
    if (std::filesystem::is_directory(list)) return false;
    std::ifstream file;
    if (list != "-") file.open(list);
    std::istream& in = list == "-" ? std::cin : file;
    if (!in) return false;
    const std::vector<std::string> listed = ReadSubjectList(in);
    subjects.insert(subjects.end(), listed.begin(), listed.end());
    return !in.bad();
}

// The first subject that lies in the card library's folder, which would be
// equalized by a card of its own kind; empty when none does.
std::string SubjectInLibrary(const std::vector<std::string>& subjects, const std::string& library) {
    std::error_code ec;
    if (library.empty()) return "";
    const auto folder = std::filesystem::weakly_canonical(library, ec);
    for (const std::string& subject : subjects)
        if (std::filesystem::weakly_canonical(subject, ec).parent_path() == folder) return subject;
    return "";
}

struct Streams {
    std::ostream& out;
    std::ostream& err;
    std::ostream* terminal;
};

int EqualizeWith(EqualizeOptions& options, const CommandParser& parser, const Streams& io) {
    if (!AddListedSubjects(options.fileList, options.subjects))
        return parser.Refuse("can't read the list of subjects " + options.fileList, io.err);
    const auto folder = GetFolderItem(std::filesystem::absolute(options.output).string());
    if (!folder || !folder->Directory()) {
        io.err << "brisavane-cli equalize: the output folder doesn't exist: " << options.output
               << "\n";
        return kExitUnusable;
    }
    const std::vector<std::string> subjects = ExpandSubjects(options.subjects);
    if (const std::string inside = SubjectInLibrary(subjects, options.library); !inside.empty())
        return parser.Refuse("the card library " + options.library + " holds the subject " + inside,
                             io.err);
    CardProblem problem;
    const auto cards =
        RunCards::Open(options.modes, options.library, options.amountToApply, problem);
    if (!cards) {
        io.err << CardErrorLine("brisavane-cli equalize", problem) << "\n";
        return kExitUnusable;
    }
    if (subjects.empty()) {
        io.err << "brisavane-cli equalize: no subject file found\n";
        return kExitSomeFailed;
    }
    const bool spareCore = std::min<std::size_t>(static_cast<std::size_t>(options.jobs),
                                                 subjects.size()) < CoresToRunOn();
    const JobSettings settings{*cards,    *folder,        options.overwrite,
                               spareCore, options.record, 100.0 * options.amountToApply};
    SubjectRun run(subjects, settings, io.out, io.terminal, options.json);
    const auto settled = SettleOutputs(subjects, *folder, options.skipExisting);
    for (std::size_t k = 0; k < subjects.size(); ++k) {
        if (!settled[k]) continue;
        SubjectResult result = SubjectResult::Skipped(
            std::filesystem::path(subjects[k]).filename().string(), settled[k]->reason);
        result.done = settled[k]->done;
        run.Settle(k, std::move(result));
    }
    run.ChooseCards();
    return run.Run(options.jobs) ? kExitOk : kExitSomeFailed;
}
}  // namespace

int RunEqualize(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                std::ostream* terminal) {
    EqualizeOptions options;
    CommandParser parser("brisavane-cli equalize",
                         "Equalizes each SUBJECT into DIR as the window's Process does.",
                         kEqualizeUsage);
    if (const auto exit = parser.Parse(options, args, out, err)) return *exit;
    if (const std::string missing = options.Missing(); !missing.empty())
        return parser.Refuse(missing, err);
    return EqualizeWith(options, parser, {out, err, terminal});
}
