// What CIM-XML adds to sending the same bytes.
#include "bench/Groups.h"
#include "bench/Rig.h"
#include "bench/Serving.h"
#include "bench/Turns.h"
#include "cim/wbem/Encode.h"
#include "cim/wbem/Handle.h"

#include <fmt/format.h>

namespace bench {
namespace {

using cim::wbem::HttpAnswer;
using cim::wbem::HttpRequest;

constexpr char kDocument[] = R"(<?xml version="1.0" encoding="utf-8"?>
<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ><IMETHODCALL NAME="{}">
<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="cimv2"/></LOCALNAMESPACEPATH>{}
</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>)";

constexpr char kClassName[] = R"(<IPARAMVALUE NAME="ClassName"><CLASSNAME NAME="{}"/></IPARAMVALUE>)";
constexpr char kInstanceName[] = R"(<IPARAMVALUE NAME="InstanceName">{}</IPARAMVALUE>)";

std::string Post(const char *method, const std::string &parameters) {
    const std::string body = fmt::format(fmt::runtime(kDocument), method, parameters);
    return fmt::format("POST /cimom HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/xml; charset=utf-8\r\n"
                       "CIMOperation: MethodCall\r\nCIMMethod: {}\r\nCIMObject: root/cimv2\r\nContent-Length: {}\r\n"
                       "\r\n{}",
                       method, body.size(), body);
}

std::string NameOf(const cim::ObjectPath &path) {
    cim::wbem::XmlWriter xml;
    WriteInstanceName(xml, path);
    return xml.Take();
}

// One run, with servers and connections of its own: which pages and cores they get decides as much as the code.
void Run(Report &report) {
    Rig rig(Describe({1000}));
    rig.Start();
    HttpAnswer last; // what the server sent, for the static one to send again
    const auto server = Serve([&](const HttpRequest &request) { return Handle(rig.Broker(), request); });
    const auto keeper = Serve([&](const HttpRequest &request) { return last = Handle(rig.Broker(), request); });
    const auto repeater = Serve([&](const HttpRequest &) { return last; });

    const std::string enumerate = Post("EnumerateInstances", fmt::format(kClassName, kExtents.className));
    const std::string get =
        Post("GetInstance", fmt::format(kInstanceName, NameOf(rig.Enumerate(kExtents).front().path)));
    {
        cim::wbem::Client client(keeper->Port());
        Exchange(client, enumerate);
    }
    cim::wbem::Client client(server->Port()), staticClient(repeater->Port());
    const std::size_t bytes = Exchange(client, enumerate);
    if (bytes < 1000 * rig.Disks() || Exchange(staticClient, enumerate) != bytes)
        throw std::runtime_error("the static answer is not the server's");
    if (Exchange(client, get) < 1000) throw std::runtime_error("the answer is not an extent");

    const auto turn = [](const char *name, cim::wbem::Client &asks, const std::string &request, int runs) {
        return Timed<WallTimeOf>(
            name, [&] { Exchange(asks, request); }, runs);
    };
    Turns()
        .Together({turn("http/extents", client, enumerate, 1), turn("http/the same bytes", staticClient, enumerate, 4)})
        .Together({turn("http/get", client, get, 1)})
        .Run(report);
}

} // namespace

void MeasureHttp(Report &report) {
    constexpr int kRuns = 5;
    for (int i = 0; i < kRuns; ++i) {
        Report run;
        Run(run);
        report.Add("http/ratio", run.MedianRatio("http/extents", "http/the same bytes"));
        report.Add("http/get", run.Median("http/get"));
    }
    report.Put(fmt::format("CIM-XML: 1,000 extents ÷ sending the same bytes, median of {} runs", kRuns),
               report.Median("http/ratio"), AtMost(3));
    report.Put("CIM-XML: requests for one extent on a kept connection", 1 / report.Median("http/get"), kReported,
               "per second");
}

} // namespace bench
