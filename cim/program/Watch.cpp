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

    // Both run until a signal ends them; the answer is the exit status.
    int PrintChanges();
    int ShowTables();

private:
    // What has changed since the last look. Null when the provider cannot be asked; then `failure` is set.
    bool Look();
    std::optional<HardwareFile::News> LookAtFile() {
        return hardware ? hardware->Look() : std::optional<HardwareFile::News>();
    }
    std::string Line(const HardwareFile::News &news) const;
    void Draw(Screen &screen) const;
    Json Marked(Json change) const {
        if (options.source.IsSample()) change["source"] = kSampleHardware;
        return change;
    }
    int Failed() const { return Fail(source.TroubleInReading(), failure); }

    Source &source;
    const WatchOptions &options;
    const Clock::duration interval;

    std::optional<HardwareFile> hardware; // none: a server elsewhere

    Inventory before, now;
    std::vector<Change> changes; // from `before` to `now`
    std::string time;            // of the look
    std::deque<std::string> removed;
    std::string notice; // of the hardware file, on the screen
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

int Watcher::PrintChanges() {
    Signals signals;
    bool first = true;
    for (auto next = Clock::now();;) {
        if (!Look()) return Failed();
        if (std::exchange(first, false)) {
            Say(fmt::format("watching{}; {}", options.source.IsSample() ? fmt::format(" {}", kSampleHardware) : "",
                            kAge));
        }
        std::string text;
        if (const auto news = LookAtFile()) {
            Say(news->reason);
            text = Line(*news);
        }
        for (const auto &change : changes) {
            text += options.json ? Dump(Marked(ToJson(change, time)), -1) + "\n" : ToText(change, time);
        }
        if (!Print(text)) return kExitFailed;
        next += interval;
        int signal = 0;
        while ((signal = signals.Wait(next)) == SIGWINCH) {}
        if (signal == SIGTSTP)
            raise(SIGSTOP);
        else if (signal != 0)
            return kExitOk;
    }
}

void Watcher::Draw(Screen &screen) const {
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
    screen.Show(head.substr(0, size.width) + "\n" + told + "\n" + RenderTables(now, tables) + below, size.height);
}

int Watcher::ShowTables() {
    Signals signals;
    Screen screen;
    bool noticeStays = false;
    for (auto next = Clock::now();;) {
        if (!Look()) {
            screen.Leave();
            return Failed();
        }
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
        next += interval;
        int signal = 0;
        do {
            Draw(screen);
            signal = signals.Wait(next);
            if (signal == SIGTSTP) {
                screen.Leave();
                raise(SIGSTOP);
                screen.Enter();
            }
        } while (signal == SIGWINCH || signal == SIGTSTP);
        if (signal != 0) return kExitOk;
    }
}

int Watch(const WatchOptions &options) {
    Trouble trouble = Trouble::None;
    std::string error;
    const auto source = Source::Open(options.source, &trouble, &error);
    if (source == nullptr) return Fail(trouble, error);
    if (!source->Unread().empty()) Say(source->Unread());
    Watcher watcher(*source, options);
    return OnTerminal() && !options.json ? watcher.ShowTables() : watcher.PrintChanges();
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
