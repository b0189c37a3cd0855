// quarnel watch: what a client sees, again and again. On a terminal the tables, into a pipe the changes.
#include "cim/inventory/Changes.h"
#include "cim/inventory/Gone.h"
#include "cim/inventory/Overview.h"
#include "cim/inventory/Verdict.h"
#include "cim/program/Command.h"
#include "cim/program/HardwareFile.h"
#include "cim/program/Signals.h"
#include "cim/program/Terminal.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
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
    std::optional<double> forget; // seconds
    bool json = false;
};

constexpr const char *kAge = "the provider looks at the hardware at most every 20 seconds";

class Watcher {
public:
    Watcher(Source &watched, const WatchOptions &given)
        : source(watched), options(given),
          interval(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(given.interval))),
          memory(given.forget) {
        if (source.Hosts() != nullptr) hardware.emplace(HardwareOf(options.source.hosting));
    }

    // Until a signal ends it; the answer is the exit status.
    int Run();

private:
    // Finds out what has changed since the last look. False when there is no answer; then `failure` says why.
    bool Look();
    // A server that has answered once may come back.
    bool MayComeBack() const { return looked && source.Hosts() == nullptr; }

    std::optional<HardwareFile::News> LookAtFile() {
        return hardware ? hardware->Look() : std::optional<HardwareFile::News>();
    }
    std::string Line(const HardwareFile::News &news) const;
    std::string LineOfServer() const;
    bool PrintNews();
    void NoteNews();
    void Draw() const;
    int Wait(Signals &signals, Clock::time_point until);
    std::string Marked(Json line) const {
        if (options.source.IsSample()) line["source"] = kSampleHardware;
        return Dump(line, -1) + "\n";
    }

    Source &source;
    const WatchOptions &options;
    const Clock::duration interval;

    std::optional<HardwareFile> hardware; // none: a server elsewhere
    std::optional<Screen> screen;         // none: lines are printed

    Inventory before, now;
    std::vector<Change> changes; // from `before` to `now`, of the latest look
    std::string time;            // of the latest look that had an answer
    Memory memory;
    std::string notice; // of the hardware file, on the screen
    bool noticeStays = false;
    std::string failure;      // of the latest look
    std::string silentSince;  // the first of the latest looks without an answer; empty: the latest had one
    std::string silentBefore; // the same of the look before
    bool looked = false;
};

bool Watcher::Look() {
    auto instances = source.Read();
    const std::time_t clock = std::time(nullptr);
    silentBefore = silentSince;
    changes.clear();
    if (!instances.Ok()) {
        failure = instances.status.message;
        if (silentSince.empty()) silentSince = TimeWithOffset(clock);
        return false;
    }
    silentSince.clear();
    before = std::move(now);
    now = Describe(std::move(instances.value));
    time = TimeWithOffset(clock);
    memory.Note(now, clock);
    if (looked) changes = Compare(before, now, options.only);
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
    return Marked(std::move(line));
}

// Empty while nothing is new of it.
std::string Watcher::LineOfServer() const {
    const bool silent = !silentSince.empty();
    if (silent == !silentBefore.empty()) return {};
    const char *event = silent ? "unreachable" : "reachable";
    const std::string &at = silent ? silentSince : time, &url = options.source.server.url;
    if (!options.json) {
        return fmt::format("{} server {}: {}\n", at, event,
                           silent ? Printable(failure) : fmt::format("{}, not since {}", url, silentBefore));
    }
    Json line = {{"time", at}, {"event", event}, {"server", url}};
    if (silent)
        line.update({{"verdict", NameOf(Severity::Unknown)}, {"reason", failure}});
    else
        line["since"] = silentBefore;
    return Marked(std::move(line));
}

bool Watcher::PrintNews() {
    std::string text = LineOfServer();
    if (const auto news = LookAtFile()) {
        Say(news->reason);
        text += Line(*news);
    }
    for (const auto &change : changes) text += options.json ? Marked(ToJson(change, time)) : ToText(change, time);
    return Print(text);
}

void Watcher::NoteNews() {
    if (const auto news = LookAtFile()) {
        notice = (news->rejected ? "hardware rejected: " : "") + Printable(news->reason);
        noticeStays = news->rejected;
        if (isatty(STDERR_FILENO) == 0) Say(news->reason);
    } else if (!noticeStays) {
        notice.clear();
    }
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

    // Lines are cut: the rest of one that wraps would push the last one off the screen.
    const auto line = [&](const std::string &text, const char *style) {
        return Styled(Cut(text, size.width), style, tables.text) + "\n";
    };
    std::string head;
    if (silentSince.empty()) {
        head =
            line(fmt::format("{}  shown every {} s; read at most every 20 s; Ctrl-C ends", time, options.interval), "");
    } else {
        const std::string name = options.source.server.url + ": "; // who watches knows it, and there is little room
        const std::string reason = failure.substr(failure.rfind(name, 0) == 0 ? name.size() : 0);
        head = line(fmt::format("No answer since {}: {}", silentSince, Printable(reason)), kRed);
    }
    if (!notice.empty()) head += line(notice, kYellow);
    const std::size_t above = notice.empty() ? 1 : 2;
    screen->Show(head + RenderOverview(now, memory, tables, std::max(size.height, above + 1) - above), size.height);
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
        const bool answered = Look();
        if (!answered && Signals::Ended()) return kExitOk; // which is why the wait for an answer was given up
        if (!answered && !MayComeBack()) {
            screen.reset();
            return Fail(source.TroubleInReading(), failure);
        }
        if (screen) {
            NoteNews();
        } else {
            const bool sample = options.source.IsSample();
            if (first) Say(fmt::format("watching{}; {}", sample ? fmt::format(" {}", kSampleHardware) : "", kAge));
            if (!PrintNews()) return kExitFailed;
        }
        // A look may have taken longer: those that were missed are not made up for.
        next = std::max(next, Clock::now() - interval) + interval;
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
    options->source.server.givenUp = Signals::Ended;
    AddClassOption(*command, options->only);
    AddNumber<double>(
        *command, "--interval", 0.05, 86400, [options](double seconds) { options->interval = seconds; },
        "time between two looks (default: 2)")
        ->type_name("SECONDS");
    AddNumber<double>(
        *command, "--forget", 0, 1e9, [options](double seconds) { options->forget = seconds; },
        "what is gone is listed so long, or until it is back (default: until it is back)")
        ->type_name("SECONDS");
    command->add_flag("--json", options->json, "print each change as one line of JSON");
    command->footer(fmt::format("Note: {}, however short the interval.", kAge));
    command->callback([&run, options] { run = [options] { return Watch(*options); }; });
}

} // namespace cim
