// What is no acceptable CIM request, and how it is refused: headers, versions, XML, grammar, limits.
#include "cim/wbem/Handle.h"
#include "cim/wbem/Document.h"
#include "cim/wbem/Headers.h"
#include "tests/wbem/Boxes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <malloc.h>

namespace cim::wbem {

namespace {

HttpRequest Good() { return CallOf("EnumerateInstanceNames", ClassParameter("Test_Box")); }

// Null: takes the header away.
HttpRequest With(HttpRequest request, const std::string &name, const char *value) {
    auto &headers = request.headers;
    headers.erase(std::remove_if(headers.begin(), headers.end(), [&](const auto &each) { return each.first == name; }),
                  headers.end());
    if (value != nullptr) headers.emplace_back(name, value);
    return request;
}

HttpRequest Replaced(HttpRequest request, const std::string &from, const std::string &to) {
    const std::size_t at = request.body.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    request.body.replace(at, from.size(), to);
    return request;
}

struct Handling : testing::Test {
    std::unique_ptr<Broker> broker = BrokerWithBoxes();

    // "STATUS CIMERROR: reason" or "200".
    std::string Outcome(const HttpRequest &request) {
        const HttpAnswer answer = Handle(*broker, request);
        std::string outcome = std::to_string(answer.status);
        if (answer.status == 200) return outcome;
        const std::string *error = FindHeader(answer.headers, "CIMError");
        if (error != nullptr) outcome += " " + *error;
        return outcome + ": " + answer.body.substr(0, answer.body.find('\n'));
    }
};

TEST_F(Handling, HeadersThatClientsSendAreTaken) {
    EXPECT_EQ(Outcome(Good()), "200");
    EXPECT_EQ(Outcome(With(Good(), "TE", "trailers")), "200");
    EXPECT_EQ(Outcome(With(Good(), "Authorization", "Basic dXNlcjpwdw==")), "200");
    EXPECT_EQ(Outcome(With(Good(), "Accept", "text/html, application/xml;q=0.5")), "200");
    EXPECT_EQ(Outcome(With(Good(), "Accept", "")), "200");
    EXPECT_EQ(Outcome(With(Good(), "Content-Type", "text/xml")), "200");
    EXPECT_EQ(Outcome(With(Good(), "Content-Type", nullptr)), "200");
    EXPECT_EQ(Outcome(With(Good(), "CIMProtocolVersion", "1.4")), "200");
    EXPECT_EQ(Outcome(With(Good(), "CIMObject", "ROOT%2ftest")), "200");
    EXPECT_EQ(Outcome(With(Good(), "CIMObject", "root/test")), "200");
    EXPECT_EQ(Outcome(With(Good(), "CIMMethod", "enumerateinstancenames")), "200");
    HttpRequest old = With(Good(), "Host", nullptr);
    old.version = "HTTP/1.0";
    EXPECT_EQ(Outcome(old), "200");
}

TEST_F(Handling, HeadersThatAreWrongAreRefusedByName) {
    const struct {
        const char *name, *value, *outcome;
    } kCases[] = {
        {"Host", nullptr, "400: Host is missing"},
        {"CIMOperation", nullptr, "400: CIMOperation is missing: this is no CIM operation"},
        {"CIMOperation", "Export", "400 unsupported-operation: CIMOperation Export is not supported"},
        {"CIMOperation", "Caf\xE9", "400 unsupported-operation: CIMOperation Caf\xEF\xBF\xBD is not supported"},
        {"CIMMethod", nullptr, "400 header-mismatch: CIMMethod is missing"},
        {"CIMObject", nullptr, "400 header-mismatch: CIMObject is missing"},
        {"CIMMethod", "GetInstance",
         "400 header-mismatch: CIMMethod is GetInstance, the body calls EnumerateInstanceNames"},
        {"CIMObject", "root%2Fcimv2", "400 header-mismatch: CIMObject is root/cimv2, the body names root/test"},
        {"CIMObject", "root%2", "400 header-mismatch: CIMMethod or CIMObject has a % without two hexadecimal digits"},
        {"CIMObject", "root%xytest",
         "400 header-mismatch: CIMMethod or CIMObject has a % without two hexadecimal digits"},
        {"CIMProtocolVersion", "2.0", "501 unsupported-protocol-version: CIMProtocolVersion 2.0 is not supported"},
        {"CIMProtocolVersion", "one", "501 unsupported-protocol-version: CIMProtocolVersion one is not supported"},
        {"CIMBatch", "", "501 multiple-requests-unsupported: multiple requests are not supported"},
        {"Content-Type", "application/json", "415: the content is not application/xml"},
        {"Content-Type", "text/xml; charset=utf-16", "415: the content's charset is not utf-8"},
        {"Accept", "text/html", "406: the answer would be application/xml, which Accept leaves out"},
    };
    for (const auto &each : kCases) EXPECT_EQ(Outcome(With(Good(), each.name, each.value)), each.outcome);
    HttpRequest twoHosts = Good();
    twoHosts.headers.emplace_back("host", "other");
    EXPECT_EQ(Outcome(twoHosts), "400: Host is there more than once");
}

TEST_F(Handling, OnlyPostAndItsExtensionAreMethods) {
    for (const char *method : {"GET", "HEAD", "PUT", "OPTIONS", "M-GET"}) {
        HttpRequest request = Good();
        request.method = method;
        const HttpAnswer answer = Handle(*broker, request);
        EXPECT_EQ(answer.status, 405u) << method;
        EXPECT_EQ(*FindHeader(answer.headers, "Allow"), "POST, M-POST");
    }
}

TEST_F(Handling, ExtendedPostsHavePrefixedHeaders) {
    HttpRequest request = Good();
    request.method = "M-POST";
    for (auto &header : request.headers) {
        if (header.first.rfind("CIM", 0) == 0) header.first = "73-" + header.first;
    }
    const char *man = "http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73";
    const HttpAnswer answer = Handle(*broker, With(request, "Man", man));
    EXPECT_EQ(answer.status, 200u) << answer.body;
    EXPECT_EQ(*FindHeader(answer.headers, "73-CIMOperation"), "MethodResponse");
    EXPECT_EQ(*FindHeader(answer.headers, "Man"), man);
    EXPECT_NE(FindHeader(answer.headers, "Ext"), nullptr);
    EXPECT_EQ(FindHeader(answer.headers, "CIMOperation"), nullptr);
    EXPECT_EQ(Outcome(With(request, "Man", "\"http://www.dmtf.org/cim/mapping/http/v1.2\"; ns=73")), "200");
    EXPECT_EQ(Outcome(With(request, "Man", "http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=74")).substr(0, 3), "400");
    EXPECT_EQ(Outcome(With(request, "Man", "http://www.dmtf.org/cim/mapping/http/v1.0")).substr(0, 3), "510");
    EXPECT_EQ(Outcome(With(request, "Man", "http://elsewhere/ ; ns=73")).substr(0, 3), "510");
    EXPECT_EQ(Outcome(request).substr(0, 3), "510");
}

TEST_F(Handling, OtherVersionsAndMultipleRequestsAreNotImplemented) {
    EXPECT_EQ(Outcome(Replaced(Good(), "CIMVERSION=\"2.0\"", "CIMVERSION=\"2.4\"")), "200");
    EXPECT_EQ(Outcome(Replaced(Good(), "CIMVERSION=\"2.0\"", "CIMVERSION=\"3.0\"")),
              "501 unsupported-cim-version: CIMVERSION 3.0 is not supported");
    EXPECT_EQ(Outcome(Replaced(Good(), "DTDVERSION=\"2.0\"", "DTDVERSION=\"1.0\"")),
              "501 unsupported-dtd-version: DTDVERSION 1.0 is not supported");
    EXPECT_EQ(Outcome(Replaced(Good(), "PROTOCOLVERSION=\"1.0\"", "PROTOCOLVERSION=\"2.0\"")),
              "501 unsupported-protocol-version: PROTOCOLVERSION 2.0 is not supported");
    EXPECT_EQ(Outcome(RequestWith("<CIM CIMVERSION='2.0' DTDVERSION='2.0'><MESSAGE ID='1' PROTOCOLVERSION='1.0'>"
                                  "<MULTIREQ><SIMPLEREQ/><SIMPLEREQ/></MULTIREQ></MESSAGE></CIM>")),
              "501 multiple-requests-unsupported: multiple requests are not supported");
}

TEST_F(Handling, BodiesThatAreNotWellFormedAreRefusedWithTheirLine) {
    const std::string notWellFormed = "400 request-not-well-formed: ";
    const struct {
        std::string body;
        const char *reason;
    } kCases[] = {
        {"", "line 1: No document element found"},
        {"CIM", "line 1: text outside of the document's element"},
        {"<CIM>\n<MESSAGE></CIM>", "line 2: Start-end tags mismatch"},
        {"<CIM>", nullptr},
        {"<CIM", "line 1: a tag has no end"},
        {"<CIM/><CIM/>", "line 1: a second element at the document's top"},
        {"<CIM/>\n\nmore", "line 3: text outside of the document's element"},
        {"<CIM a=\"<\"/>", "line 1: a < inside a tag"},
        {"<CIM a='1' a='2'/>", "CIM has the attribute a twice"},
        {"<CIM a=1/>", nullptr},
        {"<CIM>&nbsp;</CIM>", "line 1: an & that begins no entity of XML's own"},
        {"<CIM a='a & b'/>", "line 1: an & that begins no entity of XML's own"},
        {"<CIM>&#0;</CIM>", "line 1: a reference to a character that XML does not allow"},
        {"<CIM>&#xD800;</CIM>", "line 1: a reference to a character that XML does not allow"},
        {"<CIM>&#x110000;</CIM>", "line 1: a reference to a character that XML does not allow"},
        {"<CIM>\n\xFF</CIM>", "line 2: bytes that are not UTF-8"},
        {"<CIM>\xC0\x80</CIM>", "line 1: bytes that are not UTF-8"},
        {"<CIM>\x01</CIM>", "line 1: a character that XML does not allow"},
        {std::string("<CIM>\0</CIM>", 12), "line 1: a character that XML does not allow"},
        {"<!-- <CIM/>", "line 1: <!-- has no end"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><CIM/>", "the encoding is iso-8859-1; only UTF-8 is understood"},
    };
    for (const auto &each : kCases) {
        const std::string outcome = Outcome(RequestWith(each.body));
        EXPECT_EQ(outcome.substr(0, notWellFormed.size()), notWellFormed) << each.body;
        if (each.reason == nullptr) continue; // the parser's own words
        EXPECT_EQ(outcome.substr(notWellFormed.size()), each.reason) << each.body;
    }
}

TEST_F(Handling, WellFormedBodiesThatAreNoRequestAreNotValid) {
    const std::string notValid = "400 request-not-valid: ";
    const struct {
        const char *from, *to, *reason;
    } kCases[] = {
        {"<SIMPLEREQ>", "<SIMPLEREQ>text", "text inside SIMPLEREQ"},
        {"MESSAGE ID=\"4711\"", "MESSAGE", "MESSAGE has no attribute ID"},
        {"<LOCALNAMESPACEPATH>", "<HOST>x</HOST><LOCALNAMESPACEPATH>", "HOST inside IMETHODCALL"},
        {"<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"test\"/>", "", "LOCALNAMESPACEPATH has too few children"},
        {"<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"test\"/></LOCALNAMESPACEPATH>", "",
         "IMETHODCALL has no LOCALNAMESPACEPATH"},
        {"<CLASSNAME NAME=\"Test_Box\"/>", "<CLASSNAME NAME=\"A\"/><CLASSNAME NAME=\"B\"/>",
         "IPARAMVALUE has too many children"},
        {"<CLASSNAME NAME=\"Test_Box\"/>", "<CLASSNAME/>", "CLASSNAME has no attribute NAME"},
        {"<CLASSNAME NAME=\"Test_Box\"/>", "<BOX/>", "BOX inside IPARAMVALUE"},
        {"</IMETHODCALL>",
         "</IMETHODCALL><IMETHODCALL NAME=\"X\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"r\"/>"
         "</LOCALNAMESPACEPATH></IMETHODCALL>",
         "SIMPLEREQ has not one call"},
    };
    for (const auto &each : kCases) EXPECT_EQ(Outcome(Replaced(Good(), each.from, each.to)), notValid + each.reason);
    EXPECT_EQ(Outcome(RequestWith("<html/>")), notValid + "html where CIM belongs");
    EXPECT_EQ(Outcome(RequestWith("<CIM CIMVERSION='2.0' DTDVERSION='2.0'/>")), notValid + "CIM has too few children");
    EXPECT_EQ(Outcome(Replaced(CallOf("GetInstance", Parameter("InstanceName", kLeftName)), "VALUETYPE=\"numeric\"",
                               "VALUETYPE=\"number\"")),
              notValid + "KEYVALUE: number is no VALUETYPE");
}

TEST_F(Handling, WhatXmlAllowsIsUnderstood) {
    HttpRequest request = Replaced(Good(), "<SIMPLEREQ>", "<!-- hello --><?target some?><SIMPLEREQ>");
    request.body = "\xEF\xBB\xBF" + request.body;
    EXPECT_EQ(Outcome(request), "200");
    EXPECT_EQ(Outcome(Replaced(Good(), "<CIM ", "<!DOCTYPE CIM SYSTEM \"cim.dtd\">\n<CIM ")), "200");
    EXPECT_EQ(ReturnedIn(Handle(*broker, Replaced(CallOf("GetInstance", Parameter("InstanceName", kLeftName)), ">left<",
                                                  "><![CDATA[le]]>&#x66;t<"))),
              ReturnedIn(Handle(*broker, CallOf("GetInstance", Parameter("InstanceName", kLeftName)))));
}

TEST_F(Handling, DocumentsThatCouldBlowUpAreRefused) {
    const char *declarations = "<!DOCTYPE CIM [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]>\n<CIM ";
    EXPECT_EQ(Outcome(Replaced(Good(), "<CIM ", declarations)),
              "400 request-not-valid: line 2: a document type with declarations of its own is not accepted");

    const auto nested = [](int depth) {
        std::string body;
        for (int i = 0; i < depth; ++i) body += "<a>";
        for (int i = 0; i < depth; ++i) body += "</a>";
        return body;
    };
    EXPECT_EQ(Outcome(RequestWith(nested(kDeepestElement + 1))),
              "400 request-not-valid: line 1: elements nest more than 64 deep");
    EXPECT_EQ(Outcome(RequestWith(nested(kDeepestElement))), "400 request-not-valid: a where CIM belongs");

    std::string attributes = "<CIM";
    for (int i = 0; i < 100000; ++i) attributes += " a" + std::to_string(i) + "=''";
    EXPECT_EQ(Outcome(RequestWith(attributes + "/>")), "400 request-not-valid: CIM has too many attributes");

    std::string keys;
    for (int i = 0; i < 10000; ++i) {
        keys += "<KEYBINDING NAME='k" + std::to_string(i) + "'><KEYVALUE/></KEYBINDING>";
    }
    const HttpAnswer answer =
        Handle(*broker, CallOf("GetInstance", Parameter("InstanceName", "<INSTANCENAME CLASSNAME='Test_Box'>" + keys +
                                                                            "</INSTANCENAME>")));
    EXPECT_EQ(ResponseIn(answer), "<ERROR CODE=\"4\" DESCRIPTION=\"Test_Box: more keys than a class has\"></ERROR>");
}

TEST_F(Handling, MethodsOfClassesAreNotSupported) {
    const std::string body = "<CIM CIMVERSION='2.0' DTDVERSION='2.0'><MESSAGE ID='7' PROTOCOLVERSION='1.0'><SIMPLEREQ>"
                             "<METHODCALL NAME='Open'><LOCALINSTANCEPATH><LOCALNAMESPACEPATH><NAMESPACE NAME='root'/>"
                             "<NAMESPACE NAME='test'/></LOCALNAMESPACEPATH>" +
                             std::string(kLeftName) + "</LOCALINSTANCEPATH></METHODCALL></SIMPLEREQ></MESSAGE></CIM>";
    const HttpRequest request = With(RequestWith(body), "CIMMethod", "Open");
    const HttpAnswer answer =
        Handle(*broker, With(request, "CIMObject", "root/test:Test_Box.Name=%22left%22,Slot=1,Spare=TRUE"));
    EXPECT_EQ(answer.status, 200u);
    EXPECT_NE(answer.body.find("<METHODRESPONSE NAME=\"Open\"><ERROR CODE=\"7\""), std::string::npos) << answer.body;
    EXPECT_EQ(Outcome(With(request, "CIMObject", "root/test:Test_Lid")),
              "400 header-mismatch: CIMObject is root/test:Test_Lid, the body names root/test:Test_Box");
}

// Bytes in use by the whole process; always the same under a sanitizer, which finds leaks by itself.
std::size_t HeapInUse() { return mallinfo2().uordblks; }

TEST_F(Handling, AnswersLeaveNothingBehind) {
    const std::string left = Parameter("ObjectName", kLeftName);
    const HttpRequest kRequests[] = {
        CallOf("EnumerateInstances", ClassParameter("Test_Box")),
        CallOf("GetInstance", Parameter("InstanceName", kLeftName)),
        CallOf("Associators", left),
        CallOf("ReferenceNames", left),
        CallOf("EnumerateClasses", ""),
        CallOf("EnumerateInstances", ClassParameter("Test_No")),
        CallOf("DeleteInstance", Parameter("InstanceName", kLeftName)),
        CallOf("Nonsense", ""),
        With(Good(), "CIMMethod", "Other"),
        RequestWith("<CIM><a></CIM>"),
        RequestWith("<html/>"),
    };
    const auto askAll = [&](int times) {
        for (int i = 0; i < times; ++i) {
            for (const HttpRequest &request : kRequests) Handle(*broker, request);
        }
        return HeapInUse();
    };
    constexpr int kRounds = 200;
    constexpr std::size_t kSmallestBlock = 24;
    const std::size_t before = askAll(20);
    EXPECT_LT(askAll(kRounds), before + kRounds * kSmallestBlock) << "a block is left with each of some answers";
    EXPECT_EQ(broker->Live().lent, 0u);
    EXPECT_EQ(broker->Live().clones, 0u);
}

} // namespace

} // namespace cim::wbem
