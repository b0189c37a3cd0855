// Requests with the answers to them, as texts in data/: what clients may send, what they get, what is refused and how.
//
// Blocks are separated by an empty line: comments (#), then a method and its namespace, then any number of
//     @Header: value      in place of the usual one; without a value, none. @:method and @:version are HTTP's.
//     Parameter: XML      an IPARAMVALUE
//     ~from~to~           a change of the body
//     =BODY               in place of the usual one, up to the answer
// then --- and the answer. {left} and {right} are names of boxes, {host} is the machine's, {3*<a#>} is <a0><a1><a2>,
// \xFF a byte.
#include "cim/wbem/Handle.h"
#include "cim/wbem/Headers.h"
#include "tests/support/Golden.h"
#include "tests/wbem/Boxes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <malloc.h>
#include <map>
#include <optional>
#include <regex>
#include <unistd.h>

namespace cim::wbem {

namespace {

const std::string kData = QUARNEL_TEST_DATA;
constexpr const char *kFiles[] = {"associations", "classes", "documents", "headers", "instances", "interop"};

std::string Replaced(std::string text, const std::string &from, const std::string &to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::string NameOf(const char *className, const char *name, const char *slot, const char *spare) {
    const auto key = [](const char *keyName, const char *type, const char *value) {
        return std::string("<KEYBINDING NAME=\"") + keyName + "\"><KEYVALUE VALUETYPE=\"" + type + "\">" + value +
               "</KEYVALUE></KEYBINDING>";
    };
    return std::string("<INSTANCENAME CLASSNAME=\"") + className + "\">" + key("Name", "string", name) +
           key("Slot", "numeric", slot) + key("Spare", "boolean", spare) + "</INSTANCENAME>";
}

const std::string kLeft = NameOf("Test_Box", "left", "1", "TRUE");
const std::string kRight = NameOf("Test_FineBox", "right", "2", "FALSE");

std::string HostName() {
    char name[256] = {};
    gethostname(name, sizeof name);
    return name;
}

std::string Expanded(const std::string &text) {
    static const std::regex pattern(R"(\{(\d+)\*([^}]*)\}|\\x([0-9A-F]{2}))");
    std::string result;
    std::sregex_iterator each(text.begin(), text.end(), pattern), end;
    auto rest = text.begin();
    for (; each != end; ++each) {
        result.append(rest, (*each)[0].first);
        rest = (*each)[0].second;
        if ((*each)[3].matched) result += static_cast<char>(std::stoi((*each)[3], nullptr, 16));
        const int times = (*each)[1].matched ? std::stoi((*each)[1]) : 0;
        for (int i = 0; i < times; ++i) result += Replaced((*each)[2], "#", std::to_string(i));
    }
    result.append(rest, text.end());
    return Replaced(Replaced(Replaced(result, "{left}", kLeft), "{right}", kRight), "{host}", HostName());
}

struct Block {
    std::string asked; // as it is in the file, up to and with ---
    HttpRequest request;
};

void SetHeader(HttpRequest &request, std::string_view line) {
    const std::string name(TakeUntil(line, ": "));
    if (name == ":method" || name == ":version") {
        (name == ":method" ? request.method : request.version) = line;
        return;
    }
    auto &headers = request.headers;
    headers.erase(std::remove_if(headers.begin(), headers.end(), [&](const auto &each) { return each.first == name; }),
                  headers.end());
    if (!line.empty()) headers.emplace_back(name, line);
}

Block BlockOf(std::string_view text) {
    Block block;
    block.asked = text.substr(0, text.find("\n---") + 4);
    std::string_view lines = block.asked;
    while (lines.substr(0, 1) == "#") TakeUntil(lines, "\n");
    std::string_view first = TakeUntil(lines, "\n");
    const std::string method(TakeUntil(first, " ")), nameSpace(first);
    HttpRequest &request = block.request;
    request.headers = {{"Host", "server:5988"},
                       {"Content-Type", "application/xml; charset=\"utf-8\""},
                       {"CIMOperation", "MethodCall"},
                       {"CIMMethod", method},
                       {"CIMObject", Replaced(nameSpace, "/", "%2F")}};
    std::string parameters;
    std::optional<std::string> own;
    std::vector<std::pair<std::string, std::string>> changes;
    while (lines.substr(0, 3) != "---") {
        const std::string line = Expanded(std::string(TakeUntil(lines, "\n")));
        std::string_view rest = std::string_view(line).substr(1);
        if (own) {
            *own += "\n" + line;
        } else if (line[0] == '=') {
            own = rest;
        } else if (line[0] == '@') {
            SetHeader(request, rest);
        } else if (line[0] == '~') {
            const std::string from(TakeUntil(rest, "~"));
            changes.emplace_back(from, TakeUntil(rest, "~"));
        } else {
            std::string_view value = line;
            const std::string name(TakeUntil(value, ":"));
            parameters += "<IPARAMVALUE NAME=\"" + name + "\">" + std::string(value) + "</IPARAMVALUE>";
        }
    }
    request.body = "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
                   "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n<MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">"
                   "<SIMPLEREQ><IMETHODCALL NAME=\"" +
                   method + "\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"" +
                   Replaced(nameSpace, "/", "\"/><NAMESPACE NAME=\"") + "\"/></LOCALNAMESPACEPATH>\n" + parameters +
                   "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>\n";
    if (own) request.body = *own;
    for (const auto &[from, to] : changes) {
        EXPECT_NE(request.body.find(from), std::string::npos) << block.asked;
        request.body = Replaced(request.body, from, to);
    }
    return block;
}

std::vector<Block> BlocksIn(const std::string &file) {
    std::ifstream in(kData + "/" + file + ".txt");
    const std::string text(std::istreambuf_iterator<char>(in), {});
    EXPECT_FALSE(text.empty()) << file;
    std::vector<Block> blocks;
    for (std::string_view rest = text; !rest.empty();) blocks.push_back(BlockOf(TakeUntil(rest, "\n\n")));
    return blocks;
}

// The status and the headers that matter; of an answer to a method what is inside it, an element a line.
std::string Shown(const HttpAnswer &answer) {
    std::string text = std::to_string(answer.status);
    for (const auto &[name, value] : answer.headers) {
        if (name != "Content-Type" && name != "Cache-Control") text += " " + name + ": " + value;
    }
    std::string_view body = answer.body;
    if (answer.status == 200) {
        TakeUntil(body, "RESPONSE NAME=");
        TakeUntil(body, ">");
        body = TakeUntil(body, "</IMETHODRESPONSE>");
        body = TakeUntil(body, "</METHODRESPONSE>");
    }
    std::string shown = Replaced(Replaced(std::string(body), kLeft, "{left}"), kRight, "{right}");
    shown = Replaced(Replaced(shown, ">" + HostName() + "<", ">{host}<"), "><", ">\n<");
    shown = std::regex_replace(shown, std::regex("Version \\d+\\.\\d+\\.\\d+<"), "Version {version}<");
    return text + "\n" + shown + (shown.empty() || shown.back() != '\n' ? "\n" : "");
}

struct Transcript : testing::TestWithParam<const char *> {};

TEST_P(Transcript, IsWhatTheServerAnswers) {
    const auto broker = BrokerWithBoxes();
    std::string told;
    for (const Block &block : BlocksIn(GetParam())) {
        told += (told.empty() ? "" : "\n") + block.asked + " " + Shown(Handle(*broker, block.request));
    }
    support::ExpectGolden(kData + "/" + GetParam() + ".txt", told);
}

INSTANTIATE_TEST_SUITE_P(Wbem, Transcript, testing::ValuesIn(kFiles),
                         [](const auto &instance) { return std::string(instance.param); });

TEST(Handling, TheAnswerRepeatsTheMessageAndNamesItsMethod) {
    const HttpAnswer answer = Handle(*BrokerWithBoxes(), BlocksIn("instances").front().request);
    EXPECT_EQ(answer.body, "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                           "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">"
                           "<SIMPLERSP><IMETHODRESPONSE NAME=\"EnumerateInstanceNames\"><IRETURNVALUE>" +
                               kLeft + kRight + "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>");
    EXPECT_EQ(*FindHeader(answer.headers, "Content-Type"), "application/xml; charset=\"utf-8\"");
    EXPECT_EQ(*FindHeader(answer.headers, "Cache-Control"), "no-cache");
}

// Bytes in use by the whole process; always the same under a sanitizer, which finds leaks by itself.
std::size_t HeapInUse() { return mallinfo2().uordblks; }

TEST(Handling, AnswersLeaveNothingBehind) {
    const auto broker = BrokerWithBoxes();
    std::map<std::string, HttpRequest> kinds; // one of each method and outcome
    for (const char *file : kFiles) {
        for (const Block &block : BlocksIn(file)) {
            const std::string answer = Shown(Handle(*broker, block.request));
            const std::string *method = FindHeader(block.request.headers, "CIMMethod");
            kinds.emplace((method != nullptr ? *method : "") + answer.substr(0, answer.find(' ')), block.request);
        }
    }
    const auto askAll = [&](int times) {
        for (int i = 0; i < times; ++i) {
            for (const auto &kind : kinds) Handle(*broker, kind.second);
        }
        return HeapInUse();
    };
    constexpr int kRounds = 100;
    constexpr std::size_t kSmallestBlock = 24;
    std::size_t before = askAll(20), least = SIZE_MAX; // the heap's own stores fill up at first, leaks go on
    for (int times = 0; times < 3; ++times) {
        const std::size_t now = askAll(kRounds);
        least = std::min(least, now - std::min(now, before));
        before = now;
    }
    EXPECT_LT(least, kRounds * kSmallestBlock) << "a block is left with each of some answers";
    EXPECT_EQ(broker->Live().lent, 0u);
    EXPECT_EQ(broker->Live().clones, 0u);
}

} // namespace

} // namespace cim::wbem
