#include "tests/support/LogCapture.h"

#include "tests/support/Syslog.h"

#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace support {
namespace {

struct Store {
    std::mutex mutex;
    std::condition_variable grown;
    std::vector<LogLine> lines; // guarded by mutex
};

// Never destroyed: a library's threads and destructors may log after main.
Store &TheStore() {
    static Store *store = new Store;
    return *store;
}

bool Fits(const LogLine &line, int priority, std::string_view pattern) {
    return (priority == kAnyPriority || line.priority == priority) && Matches(line.text, pattern);
}

std::size_t CountIn(const std::vector<LogLine> &lines, int priority, std::string_view pattern) {
    std::size_t count = 0;
    for (const LogLine &line : lines)
        if (Fits(line, priority, pattern)) ++count;
    return count;
}

// The lines of a priority that a reader of a failed check wants to see; of traces only the last ones.
std::string Shown(int priority) {
    std::vector<std::string> texts = LogCapture::Texts("*", priority);
    constexpr std::size_t kMost = 30;
    std::string shown = texts.empty() ? "no such line at all" : "the lines of that priority are:\n";
    const std::size_t first = texts.size() > kMost ? texts.size() - kMost : 0;
    if (first > 0) shown += "  ...\n";
    for (std::size_t i = first; i < texts.size(); ++i)
        shown += "  " + texts[i] + (!texts[i].empty() && texts[i].back() == '\n' ? "" : "\n");
    return shown;
}

} // namespace

void TakeLogLine(int priority, const char *format, va_list arguments) {
    if ((setlogmask(0) & LOG_MASK(LOG_PRI(priority))) == 0) return;
    char *text = nullptr;
    if (vasprintf(&text, format, arguments) < 0) return;
    static const bool echo = getenv("TEST_LOG_ECHO") != nullptr;
    if (echo) fprintf(stderr, "<%d>%s", LOG_PRI(priority), text);
    Store &store = TheStore();
    const std::lock_guard lock(store.mutex);
    store.lines.push_back({LOG_PRI(priority), text});
    free(text);
    store.grown.notify_all();
}

bool Matches(std::string_view text, std::string_view pattern) {
    for (bool first = true;; first = false) { // the leftmost place of each literal leaves the most to those behind it
        const std::size_t star = pattern.find('*');
        const std::string_view literal = pattern.substr(0, star);
        const bool last = star == std::string_view::npos;
        if (last && text.size() < literal.size()) return false;
        const std::size_t at = first ? 0 : last ? text.size() - literal.size() : text.find(literal);
        if (at == std::string_view::npos || text.substr(at, literal.size()) != literal) return false;
        if (last) return text.size() == at + literal.size();
        text.remove_prefix(at + literal.size());
        pattern.remove_prefix(star + 1);
    }
}

void LogCapture::Clear() {
    const std::lock_guard lock(TheStore().mutex);
    std::vector<LogLine>().swap(TheStore().lines); // gives the room back, too
}

std::vector<LogLine> LogCapture::Lines() {
    const std::lock_guard lock(TheStore().mutex);
    return TheStore().lines;
}

std::vector<std::string> LogCapture::Texts(std::string_view pattern, int priority) {
    std::vector<std::string> texts;
    for (LogLine &line : Lines())
        if (Fits(line, priority, pattern)) texts.push_back(std::move(line.text));
    return texts;
}

std::size_t LogCapture::Count(int priority, std::string_view pattern) { return CountIn(Lines(), priority, pattern); }

bool LogCapture::WaitFor(std::string_view pattern, std::size_t count, std::chrono::milliseconds limit) {
    Store &store = TheStore();
    std::unique_lock lock(store.mutex);
    return store.grown.wait_for(lock, limit, [&] { return CountIn(store.lines, kAnyPriority, pattern) >= count; });
}

testing::AssertionResult Logged(int priority, std::string_view pattern) {
    if (LogCapture::Count(priority, pattern) > 0) return testing::AssertionSuccess();
    return LoggedTimes(1, priority, pattern);
}

testing::AssertionResult LoggedTimes(std::size_t times, int priority, std::string_view pattern) {
    const std::size_t count = LogCapture::Count(priority, pattern);
    if (count == times) return testing::AssertionSuccess();
    return testing::AssertionFailure() << count << " lines <" << priority << "> \"" << pattern << "\" instead of "
                                       << times << "; " << Shown(priority);
}

testing::AssertionResult NotLogged(int priority, std::string_view pattern) { return LoggedTimes(0, priority, pattern); }

testing::AssertionResult LoggedInOrder(const std::vector<std::string> &patterns) {
    const std::vector<LogLine> lines = LogCapture::Lines();
    std::size_t next = 0;
    for (const std::string &pattern : patterns) {
        std::size_t at = 0;
        while (at < lines.size() && !Matches(lines[at].text, pattern)) ++at;
        if (at == lines.size()) return testing::AssertionFailure() << "no line \"" << pattern << "\"";
        if (at < next)
            return testing::AssertionFailure() << "\"" << pattern << "\" comes before the line that should precede it";
        next = at + 1;
    }
    return testing::AssertionSuccess();
}

} // namespace support
