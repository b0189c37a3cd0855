// quarnel watch: what a client sees, again and again. On a terminal the tables, into a pipe the changes.
#include "cim/inventory/Changes.h"
#include "cim/inventory/Tables.h"
#include "cim/program/Command.h"
#include "cim/program/HardwareFile.h"
#include "cim/program/Signals.h"
#include "cim/program/Terminal.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <deque>
#include <memory>
#include <optional>
#include <utility>

namespace cim {

namespace {

using Clock = std::chrono::steady_clock;

struct WatchOptions {
    SourceOptions source;
    const ServedClass *only = nullptr;
    double interval = 2;
    bool json = false;
};

constexpr const char *kAge = "the provider looks at the hardware at most every 20 seconds";
constexpr std::size_t kRemovedShown = 10;

class Watcher {
public:
    Watcher(Source &watched, const WatchOptions &given)
        : source(watched), options(given),
          interval(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(given.interval))) {
        if (source.Hosts() != nullptr) hardware.emplace(HardwareOf(options.source.hosting));
    }

    // Until a signal ends it; the answer is the exit status.
    int Run();

private:
    // What has changed since the last look. Null when the provider cannot be asked; then `failure` is set.
    bool Look();
    std::optional<HardwareFile::News> LookAtFile() {
        return hardware ? hardware->Look() : std::optional<HardwareFile::News>();
    }
    std::string Line(const HardwareFile::News &news) const;
    bool PrintChanges();
    void NoteChanges();
    void Draw() const;
    int Wait(Signals &signals, Clock::time_point until);
    Json Marked(Json change) const {
        if (options.source.IsSample()) change["source"] = kSampleHardware;
        return change;
    }

    Source &source;
    const WatchOptions &options;
    const Clock::duration interval;

    std::optional<HardwareFile> hardware; // none: a server elsewhere
    std::optional<Screen> screen;         // none: lines are printed

    Inventory before, now;
    std::vector<Change> changes; // from `before` to `now`
    std::string time;            // of the look
    std::deque<std::string> removed;
    std::string notice; // of the hardware file, on the screen
    bool noticeStays = false;
    std::string failure;
    bool looked = false;
};

bool Watcher::Look() {
    auto instances = source.Read();
    if (!instances.Ok()) {
        failure = instances.status.message;
        return false;
    }
    before = std::move(now);
    now = Describe(std::move(instances.value));
    time = TimeWithOffset(std::time(nullptr));
    changes = looked ? Compare(before, now, options.only) : std::vector<Change>();
    looked = true;
    return true;
}

std::string Watcher::Line(const HardwareFile::News &news) const {
    const char *event = news.rejected ? "rejected" : "accepted";
    if (!options.json) {
        return fmt::format("{} hardware {}: {}\n", time, event,
                           Printable(news.rejected ? news.reason : hardware->Name()));
    }
    Json line = {{"time", time}, {"event", event}, {"file", hardware->Name()}};
    if (news.rejected) line["reason"] = news.reason;
    return Dump(Marked(std::move(line)), -1) + "\n";
}

bool Watcher::PrintChanges() {
    std::string text;
    if (const auto news = LookAtFile()) {
        Say(news->reason);
        text = Line(*news);
    }
    for (const auto &change : changes) {
        text += options.json ? Dump(Marked(ToJson(change, time)), -1) + "\n" : ToText(change, time);
    }
    return Print(text);
}

void Watcher::NoteChanges() {
    if (const auto news = LookAtFile()) {
        notice = Printable(news->reason);
        noticeStays = news->rejected;
        if (isatty(STDERR_FILENO) == 0) Say(news->reason);
    } else if (!noticeStays) {
        notice.clear();
    }
    for (const auto &change : changes) {
        if (change.after == nullptr) removed.push_back(ToText(change, time));
    }
    while (removed.size() > kRemovedShown) removed.pop_front();
}

void Watcher::Draw() const {
    const TerminalSize size = SizeOfTerminal();
    TablesOptions tables;
    tables.sample = options.source.IsSample();
    tables.only = options.only;
    tables.text = {WantsColour(), size.width};
    std::set<std::string> changed;
    for (const auto &change : changes) changed.insert(change.Subject().path);
    tables.changed = &changed;

    std::string below;
    for (const auto &line : removed) below += "   " + line;
    if (!below.empty()) below = "\n" + Styled("Removed", kBold, tables.text) + "\n" + below;
    const auto linesBelow = static_cast<std::size_t>(std::count(below.begin(), below.end(), '\n'));
    const std::size_t linesAbove = 2;
    tables.height = std::max<std::size_t>(size.height, linesAbove + linesBelow + 1) - linesAbove - linesBelow;

    // In the line between; cut, since the rest of a line that wraps would push the last one off the screen.
    const std::string told = notice.empty() ? "" : Styled(notice.substr(0, size.width), kYellow, tables.text);
    const std::string head =
        fmt::format("{}  shown every {} s; read at most every 20 s; Ctrl-C ends", time, options.interval);
    screen->Show(head.substr(0, size.width) + "\n" + told + "\n" + RenderTables(now, tables) + below, size.height);
}

// The signal that is to end the program; 0 when none has come by then.
int Watcher::Wait(Signals &signals, Clock::time_point until) {
    for (;;) {
        if (screen) Draw();
        const int signal = signals.Wait(until);
        if (signal == SIGTSTP) {
            if (screen) screen->Leave();
            raise(SIGSTOP);
            if (screen) screen->Enter();
        } else if (signal != SIGWINCH) {
            return signal;
        }
    }
}

int Watcher::Run() {
    Signals signals;
    if (OnTerminal() && !options.json) screen.emplace();
    for (auto next = Clock::now();;) {
        const bool first = !looked;
        if (!Look()) {
            screen.reset();
            return Fail(source.TroubleInReading(), failure);
        }
        if (screen) {
            NoteChanges();
        } else {
            const bool sample = options.source.IsSample();
            if (first) Say(fmt::format("watching{}; {}", sample ? fmt::format(" {}", kSampleHardware) : "", kAge));
            if (!PrintChanges()) return kExitFailed;
        }
        next += interval;
        if (Wait(signals, next) != 0) return kExitOk;
    }
}

int Watch(const WatchOptions &options) {
    Trouble trouble = Trouble::None;
    std::string error;
    const auto source = Source::Open(options.source, &trouble, &error);
    if (source == nullptr) return Fail(trouble, error);
    if (!source->Unread().empty()) Say(source->Unread());
    return Watcher(*source, options).Run();
}

} // namespace

void AddWatch(CLI::App &program, Run &run) {
    auto options = std::make_shared<WatchOptions>();
    CLI::App *command =
        program.add_subcommand("watch", "Show the same again and again: tables on a terminal, changes into a pipe");
    AddSourceOptions(*command, options->source);
    AddClassOption(*command, options->only);
    AddNumber<double>(
        *command, "--interval", 0.05, 86400, [options](double seconds) { options->interval = seconds; },
        "time between two looks (default: 2)")
        ->type_name("SECONDS");
    command->add_flag("--json", options->json, "print each change as one line of JSON");
    command->footer(fmt::format("Note: {}, however short the interval.", kAge));
    command->callback([&run, options] { run = [options] { return Watch(*options); }; });
}

} // namespace cim
