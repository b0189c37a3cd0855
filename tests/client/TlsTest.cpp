// Servers behind TLS: certificates are verified, and what is wrong with one is told.
#include "tests/client/Hosting.h"

#include <map>

namespace cim {
namespace {

// An authority, a server's key, and certificates for that: by the authority, by it but over, by nobody but the server
// itself, and by the authority for another host.
constexpr const char *kMakeCertificates = R"(
set -e
key="-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes"
openssl req -x509 $key -keyout authority.key -out authority.pem -subj "/CN=Test authority" -days 2
openssl req $key -keyout server.key -out server.csr -subj "/CN=server" -addext "subjectAltName=IP:127.0.0.1"
openssl req -new -key server.key -out other.csr -subj "/CN=other" -addext "subjectAltName=DNS:other.example"
sign() {
  openssl x509 -req -in $1.csr -CA authority.pem -CAkey authority.key -copy_extensions copyall -days $2 -out $3.pem
}
sign server 2 good
sign server -1 expired
sign other 2 other
openssl req -x509 -key server.key -out selfsigned.pem -subj "/CN=server" -addext "subjectAltName=IP:127.0.0.1" -days 2
)";

const std::vector<std::string> kCertificates = {"good", "expired", "selfsigned", "other"};

// quarnel serve, with stunnel in front of it once for each certificate.
class Tls : public testing::Test {
protected:
    Tls() {
        Process make("/bin/sh", {"-c", "cd " + folder.Path() + kMakeCertificates});
        EXPECT_EQ(make.Wait(), 0) << make.Err();
        std::string configuration = "foreground = yes\npid =\ndebug = info\nsyslog = no\n";
        for (const std::string &name : kCertificates) {
            configuration += "[" + name + "]\naccept = 127.0.0.1:0\nconnect = " + plain.substr(7) +
                             "\ncert = " + Pem(name) + "\nkey = " + folder.Path() + "/server.key\n";
        }
        const std::string file = folder.Write("stunnel.conf", configuration);
        stunnel = std::make_unique<Process>("/usr/bin/stunnel4", std::vector<std::string>{file});
        EXPECT_TRUE(stunnel->WaitForError("Accepting new connections")) << stunnel->Err();
        for (const std::string &name : kCertificates) urls[name] = "https://" + AddressOf(name);
    }

    std::string Pem(const std::string &name) const { return folder / (name + ".pem"); }

    // Service [good] (FD=8) bound to 127.0.0.1:40171
    std::string AddressOf(const std::string &name) const {
        const std::string &log = stunnel->Err();
        const auto begin = log.find("127.0.0.1:", log.find("Service [" + name + "] (FD="));
        return begin != std::string::npos ? log.substr(begin, log.find('\n', begin) - begin) : "nowhere";
    }

    // The failure, without the URL in front of it; empty when there was an answer.
    static std::string Ask(const std::string &url, const std::string &caFile) {
        ClientOptions options;
        options.url = url;
        options.caFile = caFile;
        std::string error;
        const auto connection = Connect(options, &error);
        const std::string message = ReadInstances(*connection).status.message;
        return message.empty() ? message : message.substr(url.size() + 2);
    }

    const support::TemporaryFolder folder;
    const support::Serve serve{SampleHardware("rack-server.json")};
    const std::string &plain = serve.Url();
    std::unique_ptr<Process> stunnel;
    std::map<std::string, std::string> urls;
};

TEST_F(Tls, OnlyCertificatesOfTrustedAuthoritiesAreAccepted) {
    const std::string refused = "its certificate is not accepted: ", authority = Pem("authority");
    EXPECT_EQ(Ask(urls["good"], authority), "");
    EXPECT_EQ(Ask(urls["good"], ""), refused + "unable to get local issuer certificate");
    EXPECT_EQ(Ask(urls["expired"], authority), refused + "certificate has expired");
    EXPECT_EQ(Ask(urls["selfsigned"], authority), refused + "self-signed certificate");
    EXPECT_EQ(Ask(urls["selfsigned"], Pem("selfsigned")), "") << "it is its own authority";
    EXPECT_EQ(Ask(urls["other"], authority),
              refused + "no alternative certificate subject name matches target host name '127.0.0.1'");
    EXPECT_EQ(Ask(urls["good"], folder / "stunnel.conf"),
              "no certificates can be read from " + folder.Path() + "/stunnel.conf");
    EXPECT_EQ(Ask("https" + plain.substr(4), authority).rfind("no TLS connection: ", 0), 0u);
    EXPECT_NE(Ask("http" + urls["good"].substr(5), ""), "");
}

TEST_F(Tls, TheProgramShowsTheSameAsWithoutTls) {
    const std::string program = BinFolder() + "/quarnel";
    const Outcome open = RunToEnd(program, {"list", "--url", plain});
    const Outcome secret = RunToEnd(program, {"list", "--url", urls["good"], "--cacert", Pem("authority")});
    EXPECT_EQ(open.status, 0) << open.err;
    EXPECT_EQ(secret.status, 0) << secret.err;
    EXPECT_EQ(secret.out, open.out);
    EXPECT_GT(secret.out.size(), 1000u);

    const Outcome expired = RunToEnd(program, {"check", "--url", urls["expired"], "--cacert", Pem("authority")});
    EXPECT_EQ(expired.status, 3);
    EXPECT_EQ(expired.out,
              "UNKNOWN: " + urls["expired"] + ": its certificate is not accepted: certificate has expired\n");
}

} // namespace
} // namespace cim
