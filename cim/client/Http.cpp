#include "cim/client/Http.h"

#include <curl/curl.h>
#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>

namespace cim::client {

namespace {

constexpr std::size_t kLongestAnswer = 256 * 1024 * 1024;
constexpr std::size_t kReasonShown = 200; // of an error page's first line
constexpr const char *kUserAgent = "quarnel";

template <auto Free> struct FreeWith {
    template <class Handle> void operator()(Handle *handle) const { Free(handle); }
};
using CurlHandle = std::unique_ptr<CURL, FreeWith<curl_easy_cleanup>>;
using UrlHandle = std::unique_ptr<CURLU, FreeWith<curl_url_cleanup>>;
using CurlText = std::unique_ptr<char, FreeWith<curl_free>>;
using CurlList = std::unique_ptr<curl_slist, FreeWith<curl_slist_free_all>>;

// Empty: there is no such part.
std::string PartOf(CURLU *url, CURLUPart part) {
    char *text = nullptr;
    if (curl_url_get(url, part, &text, 0) != CURLUE_OK) return {};
    return CurlText(text).get();
}

// DSP0200's ports and path where the URL has none.
std::string RequestUrl(const std::string &given) {
    const UrlHandle url(curl_url());
    const bool parsed = curl_url_set(url.get(), CURLUPART_URL, given.c_str(), 0) == CURLUE_OK;
    const std::string scheme = PartOf(url.get(), CURLUPART_SCHEME), path = PartOf(url.get(), CURLUPART_PATH);
    if (!PartOf(url.get(), CURLUPART_USER).empty() || !PartOf(url.get(), CURLUPART_PASSWORD).empty()) {
        throw Failure(
            "--url: a URL is no place for a user or a password: use QUARNEL_USER and QUARNEL_PASSWORD, or ~/.netrc");
    }
    if (!parsed || (scheme != "http" && scheme != "https") || (!path.empty() && path != "/") ||
        !PartOf(url.get(), CURLUPART_QUERY).empty() || !PartOf(url.get(), CURLUPART_FRAGMENT).empty()) {
        throw Failure("--url " + given + ": not of the form http(s)://host[:port]");
    }
    if (PartOf(url.get(), CURLUPART_PORT).empty()) {
        curl_url_set(url.get(), CURLUPART_PORT, scheme == "https" ? "5989" : "5988", 0);
    }
    curl_url_set(url.get(), CURLUPART_PATH, "/cimom", 0);
    return PartOf(url.get(), CURLUPART_URL);
}

struct Response {
    std::string status;   // "401 Unauthorized"
    std::string cimError; // DSP0200's header for refusals
    std::string contentType;
    std::string body;
    bool tooLong = false;
};

// Called for each header line of each answer, those to requests that are repeated with credentials included.
std::size_t TakeHeader(char *data, std::size_t, std::size_t size, void *to) {
    Response &reply = *static_cast<Response *>(to);
    const std::string_view line = Trimmed({data, size});
    if (line.substr(0, 5) == "HTTP/") {
        reply = {};
        reply.status = Trimmed(line.substr(std::min(line.find(' '), line.size())));
        return size;
    }
    const auto colon = std::min(line.find(':'), line.size());
    const std::string_view name = line.substr(0, colon);
    const std::string_view value = Trimmed(line.substr(std::min(colon + 1, line.size())));
    if (SameName(name, "CIMError")) reply.cimError = value;
    if (SameName(name, "Content-Type")) reply.contentType = value;
    return size;
}

std::size_t TakeBody(char *data, std::size_t, std::size_t size, void *to) {
    Response &reply = *static_cast<Response *>(to);
    reply.tooLong = reply.body.size() + size > kLongestAnswer;
    if (reply.tooLong) return 0;
    reply.body.append(data, size);
    return size;
}

int IsGivenUp(void *asked, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return (*static_cast<const std::function<bool()> *>(asked))() ? 1 : 0;
}

// The library's words without its own introduction.
std::string Reason(std::string_view text) {
    for (const std::string_view start : {"SSL certificate problem: ", "SSL: "}) {
        if (text.substr(0, start.size()) == start) text.remove_prefix(start.size());
    }
    return std::string(text);
}

std::string Seconds(std::chrono::milliseconds time) {
    return fmt::format("{} s", static_cast<double>(time.count()) / 1000);
}

struct Http {
    using Clock = std::chrono::steady_clock;

    ClientOptions options;
    Clock::time_point deadline = Clock::time_point::max();
    CurlHandle curl;
    Response reply;
    char details[CURL_ERROR_SIZE] = {};

    template <class Argument> void Set(CURLoption option, Argument argument) {
        if (curl_easy_setopt(curl.get(), option, argument) != CURLE_OK) throw std::bad_alloc();
    }
    template <class Result> Result Info(CURLINFO what) const {
        Result result{};
        curl_easy_getinfo(curl.get(), what, &result);
        return result;
    }

    void SetUp(const std::string &url);
    std::string Post(const HeaderFields &headers, const std::string &body);
    void LimitTime();
    void SetUpCredentials();
    void SettleAuthentication();
    [[noreturn]] void FailToConnect(CURLcode code) const;
    [[noreturn]] void Refused(long status) const;
};

void Http::SetUp(const std::string &url) {
    Set(CURLOPT_URL, url.c_str());
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
    Set(CURLOPT_USERAGENT, kUserAgent);
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_ERRORBUFFER, details);
    Set(CURLOPT_HEADERFUNCTION, TakeHeader);
    Set(CURLOPT_HEADERDATA, &reply);
    Set(CURLOPT_WRITEFUNCTION, TakeBody);
    Set(CURLOPT_WRITEDATA, &reply);
    if (options.givenUp) {
        Set(CURLOPT_XFERINFOFUNCTION, IsGivenUp);
        Set(CURLOPT_XFERINFODATA, &options.givenUp);
        Set(CURLOPT_NOPROGRESS, 0L);
    }
    if (!options.caFile.empty()) {
        Set(CURLOPT_CAINFO, options.caFile.c_str());
        Set(CURLOPT_CAPATH, nullptr);
    }
    SetUpCredentials();
}

// Of the next answer. 0 would be without a limit.
void Http::LimitTime() {
    auto limit = options.timeout;
    if (options.total) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) FailToConnect(CURLE_OPERATION_TIMEDOUT);
        limit = std::min(limit, left);
    }
    Set(CURLOPT_TIMEOUT_MS, static_cast<long>(limit.count()));
}

void Http::SetUpCredentials() {
    Set(CURLOPT_NETRC, long{CURL_NETRC_OPTIONAL});
    // The safest of what the server offers; nothing is sent before it has said what that is.
    Set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC | CURLAUTH_DIGEST));
    if (const char *user = std::getenv("QUARNEL_USER")) Set(CURLOPT_USERNAME, user);
    if (const char *password = std::getenv("QUARNEL_PASSWORD")) Set(CURLOPT_PASSWORD, password);
}

// What the server has asked for once it need not ask for again.
void Http::SettleAuthentication() {
    const long offered = Info<long>(CURLINFO_HTTPAUTH_AVAIL);
    for (const unsigned long method : {CURLAUTH_DIGEST, CURLAUTH_BASIC}) {
        if ((static_cast<unsigned long>(offered) & method) == 0) continue;
        Set(CURLOPT_HTTPAUTH, static_cast<long>(method));
        return;
    }
}

void Http::FailToConnect(CURLcode code) const {
    const std::string reason = Reason(*details != '\0' ? details : curl_easy_strerror(code));
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        throw Failure("no such host");
    case CURLE_COULDNT_CONNECT: {
        const long error = Info<long>(CURLINFO_OS_ERRNO);
        if (error == ECONNREFUSED) throw Failure("connection refused");
        throw Failure("cannot connect: " +
                      (error != 0 ? std::generic_category().message(static_cast<int>(error)) : reason));
    }
    case CURLE_OPERATION_TIMEDOUT:
        throw Failure("timed out after " + Seconds(Clock::now() < deadline ? options.timeout : *options.total));
    case CURLE_PEER_FAILED_VERIFICATION:
        throw Failure("its certificate is not accepted: " + reason);
    case CURLE_SSL_CACERT_BADFILE:
        throw Failure("no certificates can be read from " + options.caFile);
    case CURLE_SSL_CONNECT_ERROR:
        throw Failure("no TLS connection: " + reason);
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE:
        throw Failure("it closed the connection before its answer was complete");
    case CURLE_WRITE_ERROR:
        if (reply.tooLong) throw Failure(fmt::format("answered more than {} MiB", kLongestAnswer >> 20));
        [[fallthrough]];
    default:
        throw Failure(reason);
    }
}

void Http::Refused(long status) const {
    std::string text = "answered " + reply.status;
    if (status == 401) {
        throw Failure(text + ": check the user and the password in QUARNEL_USER and QUARNEL_PASSWORD, or in ~/.netrc");
    }
    if (!reply.cimError.empty()) text += " (" + reply.cimError + ")";
    if (reply.contentType.rfind("text/plain", 0) == 0) {
        const std::string_view body = Trimmed(reply.body);
        const std::string_view line = body.substr(0, std::min(body.find('\n'), kReasonShown));
        if (!line.empty()) text += ": " + std::string(line);
    }
    // A CIM server has this path and takes this method.
    const bool html = reply.contentType.rfind("text/html", 0) == 0;
    if (html && reply.cimError.empty() && (status == 404 || status == 405)) {
        text += " in HTML: is this the port of a CIM server?";
    }
    throw Failure(text);
}

std::string Http::Post(const HeaderFields &headers, const std::string &body) {
    CurlList list;
    for (const auto &[name, value] : headers) {
        curl_slist *longer = curl_slist_append(list.get(), (name + (": " + value)).c_str());
        if (longer == nullptr) throw std::bad_alloc();
        (void)list.release();
        list.reset(longer);
    }
    Set(CURLOPT_HTTPHEADER, list.get());
    Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    Set(CURLOPT_POSTFIELDS, body.data());
    reply = {};
    *details = '\0';
    LimitTime();
    const CURLcode code = curl_easy_perform(curl.get());
    Set(CURLOPT_HTTPHEADER, static_cast<curl_slist *>(nullptr));
    if (code != CURLE_OK) FailToConnect(code);
    SettleAuthentication();
    const long status = Info<long>(CURLINFO_RESPONSE_CODE);
    if (status != 200) Refused(status);
    return std::move(reply.body);
}

} // namespace

Post OverHttp(const ClientOptions &options) {
    static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);
    const std::string url = RequestUrl(options.url);
    const auto http = std::make_shared<Http>();
    http->options = options;
    if (options.total) http->deadline = Http::Clock::now() + *options.total;
    http->curl.reset(started == CURLE_OK ? curl_easy_init() : nullptr);
    if (http->curl == nullptr) throw std::bad_alloc();
    http->SetUp(url);
    return [http](const HeaderFields &headers, const std::string &body) { return http->Post(headers, body); };
}

} // namespace cim::client
