// Every operation, answered by a broker with a small provider, as a client sends and sees it.
#include "cim/wbem/Handle.h"
#include "tests/wbem/Boxes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <unistd.h>

namespace cim::wbem {

namespace {

struct Operations : testing::Test {
    std::unique_ptr<Broker> broker = BrokerWithBoxes();

    HttpAnswer Call(const std::string &method, const std::string &parameters,
                    const std::string &nameSpace = "root/test") {
        return Handle(*broker, CallOf(method, parameters, nameSpace));
    }
    std::string Returned(const std::string &method, const std::string &parameters,
                         const std::string &nameSpace = "root/test") {
        const HttpAnswer answer = Call(method, parameters, nameSpace);
        EXPECT_EQ(answer.status, 200u) << answer.body;
        return ReturnedIn(answer);
    }
    // "CODE: DESCRIPTION" of the error that the call is answered with.
    std::string Error(const std::string &method, const std::string &parameters,
                      const std::string &nameSpace = "root/test") {
        const HttpAnswer answer = Call(method, parameters, nameSpace);
        EXPECT_EQ(answer.status, 200u);
        const std::string response = ResponseIn(answer), open = "<ERROR CODE=\"", middle = "\" DESCRIPTION=\"";
        if (response.rfind(open, 0) != 0) return response;
        const std::size_t split = response.find(middle);
        const std::size_t end = response.find("\"></ERROR>");
        return response.substr(open.size(), split - open.size()) + ": " +
               response.substr(split + middle.size(), end - split - middle.size());
    }
};

std::string Names(const std::string &names) {
    std::string values;
    for (std::size_t begin = 0; begin < names.size();) {
        const std::size_t end = std::min(names.find(' ', begin), names.size());
        values += "<VALUE>" + names.substr(begin, end - begin) + "</VALUE>";
        begin = end + 1;
    }
    return Parameter("PropertyList", "<VALUE.ARRAY>" + values + "</VALUE.ARRAY>");
}

std::string Bool(const char *name, const char *value) {
    return Parameter(name, std::string("<VALUE>") + value + "</VALUE>");
}

std::string TextWith(std::string text, const std::string &from, const std::string &to) {
    return text.replace(text.find(from), from.size(), to);
}

const std::string kLeft = Parameter("InstanceName", kLeftName);
const std::string kLeftObject = Parameter("ObjectName", kLeftName);
const std::string kPathHead =
    "<INSTANCEPATH><NAMESPACEPATH><HOST>server:5988</HOST><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"></NAMESPACE>"
    "<NAMESPACE NAME=\"test\"></NAMESPACE></LOCALNAMESPACEPATH></NAMESPACEPATH>";

TEST_F(Operations, TheAnswerRepeatsTheMessageAndNamesItsMethod) {
    const HttpAnswer answer = Call("EnumerateInstanceNames", ClassParameter("Test_Box"));
    EXPECT_EQ(answer.status, 200u);
    EXPECT_EQ(answer.body, "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                           "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">"
                           "<SIMPLERSP><IMETHODRESPONSE NAME=\"EnumerateInstanceNames\"><IRETURNVALUE>" +
                               std::string(kLeftName) + kRightName +
                               "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>");
    const HeaderList expected = {{"Content-Type", "application/xml; charset=\"utf-8\""},
                                 {"Cache-Control", "no-cache"},
                                 {"CIMOperation", "MethodResponse"}};
    EXPECT_EQ(answer.headers, expected);
}

TEST_F(Operations, InstancesHaveTheTypesOfTheirClassAndCleanTexts) {
    EXPECT_EQ(Returned("GetInstance", kLeft),
              "<INSTANCE CLASSNAME=\"Test_Box\">"
              "<PROPERTY NAME=\"Caption\" TYPE=\"string\"><VALUE>&lt;left&gt; &amp; \"first\"</VALUE></PROPERTY>"
              "<PROPERTY NAME=\"Name\" TYPE=\"string\"><VALUE>left</VALUE></PROPERTY>"
              "<PROPERTY NAME=\"Slot\" TYPE=\"uint16\"><VALUE>1</VALUE></PROPERTY>"
              "<PROPERTY NAME=\"Spare\" TYPE=\"boolean\"><VALUE>TRUE</VALUE></PROPERTY>"
              "<PROPERTY NAME=\"Size\" TYPE=\"uint64\"><VALUE>512</VALUE></PROPERTY>"
              "<PROPERTY.ARRAY NAME=\"States\" TYPE=\"uint16\"><VALUE.ARRAY><VALUE>2</VALUE><VALUE>5</VALUE>"
              "</VALUE.ARRAY></PROPERTY.ARRAY>"
              "<PROPERTY NAME=\"Note\" TYPE=\"string\"></PROPERTY>"
              "</INSTANCE>");
    EXPECT_EQ(
        Returned("EnumerateInstances", ClassParameter("Test_FineBox") + Names("Caption")),
        "<VALUE.NAMEDINSTANCE>" + std::string(kRightName) +
            "<INSTANCE CLASSNAME=\"Test_FineBox\"><PROPERTY NAME=\"Caption\" TYPE=\"string\"><VALUE>"
            "bell \xEF\xBF\xBD, bad byte \xEF\xBF\xBD, \xC3\xA9</VALUE></PROPERTY></INSTANCE></VALUE.NAMEDINSTANCE>");
}

TEST_F(Operations, PropertyListsClassOriginAndDeepInheritanceShapeInstances) {
    EXPECT_EQ(Returned("GetInstance", kLeft + Names("SLOT nosuch") + Bool("IncludeClassOrigin", "true")),
              "<INSTANCE CLASSNAME=\"Test_Box\"><PROPERTY NAME=\"Slot\" TYPE=\"uint16\" CLASSORIGIN=\"Test_Box\">"
              "<VALUE>1</VALUE></PROPERTY></INSTANCE>");
    EXPECT_EQ(Returned("GetInstance", kLeft + Names("")), "<INSTANCE CLASSNAME=\"Test_Box\"></INSTANCE>");

    const std::string boxes = ClassParameter("test_BOX");
    const std::string rest = Bool("LocalOnly", "FALSE") + Bool("IncludeQualifiers", "FALSE");
    const std::string deep = Returned("EnumerateInstances", boxes + rest + Bool("DeepInheritance", "TRUE"));
    EXPECT_EQ(deep, Returned("EnumerateInstances", boxes));
    EXPECT_NE(deep.find("\"Weight\""), std::string::npos);
    const std::string flat = Returned("EnumerateInstances", boxes + Bool("DeepInheritance", "FALSE"));
    EXPECT_EQ(flat.find("\"Weight\""), std::string::npos);
    EXPECT_NE(flat.find(">right<"), std::string::npos) << "the subclass's instance is there, less what it adds";
}

std::string LeftWith(const std::string &slot) {
    std::string name = kLeftName;
    return name.replace(name.find("VALUETYPE=\"numeric\">1"), 21, slot);
}

TEST_F(Operations, KeysCompareByTheTypesOfTheirClass) {
    for (const char *one : {"VALUETYPE=\"numeric\">1", "VALUETYPE=\"string\">1", ">1", "VALUETYPE=\"numeric\"> 0x01 ",
                            "VALUETYPE=\"numeric\" TYPE=\"sint8\">+1"}) {
        EXPECT_NE(Returned("GetInstance", Parameter("InstanceName", LeftWith(one))).find(">left<"), std::string::npos)
            << one;
    }
    EXPECT_EQ(Error("GetInstance", Parameter("InstanceName", LeftWith("VALUETYPE=\"numeric\">2"))),
              "6: The object was not found");
    EXPECT_EQ(Error("GetInstance", Parameter("InstanceName", LeftWith("VALUETYPE=\"numeric\">65536"))),
              "4: key Slot: &quot;65536&quot; is no uint16");
    EXPECT_EQ(Error("GetInstance", Parameter("InstanceName", LeftWith("VALUETYPE=\"boolean\">true"))),
              "4: key Slot: &quot;true&quot; is no uint16");
    EXPECT_EQ(Error("GetInstance", Parameter("InstanceName", "<INSTANCENAME CLASSNAME=\"Test_Box\"><KEYVALUE>left"
                                                             "</KEYVALUE></INSTANCENAME>")),
              "4: Test_Box has not one key; a key needs its name");
}

TEST_F(Operations, AnInstanceIsNamedByAllOfItsKeys) {
    const auto left = [](const std::string &from, const std::string &to) {
        return Parameter("InstanceName", TextWith(kLeftName, from, to));
    };
    const std::string spare = "<KEYBINDING NAME=\"Spare\"><KEYVALUE VALUETYPE=\"boolean\">TRUE</KEYVALUE></KEYBINDING>";
    const std::string note = "<KEYBINDING NAME=\"Note\"><KEYVALUE>new</KEYVALUE></KEYBINDING>";
    const struct {
        std::string name;
        const char *error;
    } kCases[] = {
        {Parameter("InstanceName", "<INSTANCENAME CLASSNAME=\"Test_Box\"/>"), "4: key Name of Test_Box is missing"},
        {left(spare, ""), "4: key Spare of Test_Box is missing"},
        {left(spare, spare + note), "4: Note is no key of Test_Box"},
        {left("TRUE", "FALSE"), "6: The object was not found"},
        {left(">left<", ">none<"), "6: The object was not found"},
        {Parameter("InstanceName", "<INSTANCENAME CLASSNAME=\"Test_None\"/>"), "5: unknown class Test_None"},
    };
    for (const auto &each : kCases) EXPECT_EQ(Error("GetInstance", each.name), each.error) << each.name;
}

TEST_F(Operations, AssociationsAreFollowedInAllFourWays) {
    const std::string instance = Returned("Associators", kLeftObject + Names("Name"));
    EXPECT_EQ(instance,
              "<VALUE.OBJECTWITHPATH>" + kPathHead + kRightName +
                  "</INSTANCEPATH><INSTANCE CLASSNAME=\"Test_FineBox\"><PROPERTY NAME=\"Name\" TYPE=\"string\">"
                  "<VALUE>right</VALUE></PROPERTY></INSTANCE></VALUE.OBJECTWITHPATH>");
    const std::string pair = Parameter("AssocClass", "<CLASSNAME NAME=\"Test_Pair\"/>") +
                             Parameter("ResultClass", "<CLASSNAME NAME=\"Test_Box\"/>") +
                             Parameter("Role", "<VALUE>Left</VALUE>") + Parameter("ResultRole", "");
    EXPECT_EQ(Returned("AssociatorNames", kLeftObject + pair),
              "<OBJECTPATH>" + kPathHead + kRightName + "</INSTANCEPATH></OBJECTPATH>");

    const std::string ends = "<LOCALINSTANCEPATH><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"></NAMESPACE>"
                             "<NAMESPACE NAME=\"test\"></NAMESPACE></LOCALNAMESPACEPATH>";
    const std::string left = "<VALUE.REFERENCE>" + ends + kLeftName + "</LOCALINSTANCEPATH></VALUE.REFERENCE>";
    const std::string right = "<VALUE.REFERENCE>" + ends + kRightName + "</LOCALINSTANCEPATH></VALUE.REFERENCE>";
    const std::string path = kPathHead + "<INSTANCENAME CLASSNAME=\"Test_Pair\"><KEYBINDING NAME=\"Left\">" + left +
                             "</KEYBINDING><KEYBINDING NAME=\"Right\">" + right +
                             "</KEYBINDING></INSTANCENAME></INSTANCEPATH>";
    EXPECT_EQ(Returned("ReferenceNames", kLeftObject), "<OBJECTPATH>" + path + "</OBJECTPATH>");
    EXPECT_EQ(Returned("References", kLeftObject),
              "<VALUE.OBJECTWITHPATH>" + path + "<INSTANCE CLASSNAME=\"Test_Pair\">" +
                  "<PROPERTY.REFERENCE NAME=\"Left\" REFERENCECLASS=\"Test_Box\">" + left + "</PROPERTY.REFERENCE>" +
                  "<PROPERTY.REFERENCE NAME=\"Right\" REFERENCECLASS=\"Test_Box\">" + right +
                  "</PROPERTY.REFERENCE></INSTANCE></VALUE.OBJECTWITHPATH>");
    EXPECT_EQ(Error("Associators", Parameter("ObjectName", "<CLASSNAME NAME=\"Test_Box\"/>")),
              "7: associations of classes are not supported; name an instance");
}

TEST_F(Operations, ClassesAreShownAsTheTreeHasThem) {
    EXPECT_EQ(Returned("GetClass", ClassParameter("test_finebox")),
              "<CLASS NAME=\"Test_FineBox\" SUPERCLASS=\"Test_Box\">"
              "<PROPERTY NAME=\"Weight\" TYPE=\"real64\"></PROPERTY></CLASS>");
    EXPECT_EQ(Returned("GetClass", ClassParameter("Test_FineBox") + Names("Slot Weight") + Bool("LocalOnly", "false") +
                                       Bool("IncludeClassOrigin", "true")),
              "<CLASS NAME=\"Test_FineBox\" SUPERCLASS=\"Test_Box\">"
              "<QUALIFIER NAME=\"Description\" TYPE=\"string\" PROPAGATED=\"true\" TRANSLATABLE=\"true\">"
              "<VALUE>A box.</VALUE></QUALIFIER>"
              "<PROPERTY NAME=\"Slot\" TYPE=\"uint16\" CLASSORIGIN=\"Test_Box\" PROPAGATED=\"true\">"
              "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\" PROPAGATED=\"true\" OVERRIDABLE=\"false\"><VALUE>TRUE</VALUE>"
              "</QUALIFIER></PROPERTY>"
              "<PROPERTY NAME=\"Weight\" TYPE=\"real64\" CLASSORIGIN=\"Test_FineBox\"></PROPERTY></CLASS>");
    EXPECT_EQ(Returned("GetClass", ClassParameter("Test_Pair") + Names("Left")),
              "<CLASS NAME=\"Test_Pair\"><QUALIFIER NAME=\"Association\" TYPE=\"boolean\" OVERRIDABLE=\"false\">"
              "<VALUE>TRUE</VALUE></QUALIFIER><PROPERTY.REFERENCE NAME=\"Left\" REFERENCECLASS=\"Test_Box\">"
              "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\" OVERRIDABLE=\"false\"><VALUE>TRUE</VALUE></QUALIFIER>"
              "</PROPERTY.REFERENCE></CLASS>");
    EXPECT_EQ(Returned("EnumerateClassNames", ClassParameter("Test_Element")),
              "<CLASSNAME NAME=\"Test_Box\"></CLASSNAME>");
    EXPECT_EQ(Returned("EnumerateClassNames", ClassParameter("Test_Element") + Bool("DeepInheritance", "true")),
              "<CLASSNAME NAME=\"Test_Box\"></CLASSNAME><CLASSNAME NAME=\"Test_FineBox\"></CLASSNAME>");
    EXPECT_NE(Returned("EnumerateClassNames", "").find("Test_Unserved"), std::string::npos);
    EXPECT_EQ(Returned("EnumerateClasses", ClassParameter("Test_Box") + Bool("IncludeQualifiers", "false")),
              Returned("GetClass", ClassParameter("Test_FineBox")));
    EXPECT_EQ(Error("GetClass", ClassParameter("Test_No")), "6: there is no class Test_No");
    EXPECT_EQ(Error("EnumerateClassNames", ClassParameter("Test_No")), "5: there is no class Test_No");
    EXPECT_EQ(Error("EnumerateClasses", ClassParameter("Test_No")), "5: there is no class Test_No");
}

TEST_F(Operations, QualifiersTellWhatValuesMean) {
    const std::string head = "<CLASS NAME=\"Test_Box\" SUPERCLASS=\"Test_Element\">";
    const std::string states = "<PROPERTY.ARRAY NAME=\"States\" TYPE=\"uint16\">";
    EXPECT_EQ(Returned("GetClass", ClassParameter("Test_Box") + Names("States")),
              head +
                  "<QUALIFIER NAME=\"Version\" TYPE=\"string\" TOSUBCLASS=\"false\" TRANSLATABLE=\"true\">"
                  "<VALUE>1.0</VALUE></QUALIFIER><QUALIFIER NAME=\"Description\" TYPE=\"string\" TRANSLATABLE=\"true\">"
                  "<VALUE>A box.</VALUE></QUALIFIER>" +
                  states +
                  "<QUALIFIER NAME=\"ValueMap\" TYPE=\"string\"><VALUE.ARRAY><VALUE>2</VALUE><VALUE>5</VALUE>"
                  "</VALUE.ARRAY></QUALIFIER><QUALIFIER NAME=\"Values\" TYPE=\"string\" TRANSLATABLE=\"true\">"
                  "<VALUE.ARRAY><VALUE>full</VALUE><VALUE>&lt;empty&gt;</VALUE></VALUE.ARRAY></QUALIFIER>"
                  "</PROPERTY.ARRAY></CLASS>");
    EXPECT_EQ(Returned("GetClass", ClassParameter("Test_Box") + Names("States") + Bool("IncludeQualifiers", "false")),
              head + states + "</PROPERTY.ARRAY></CLASS>");

    const auto qualifier = [](const char *name) {
        return Parameter("QualifierName", std::string("<VALUE>") + name + "</VALUE>");
    };
    const std::string values = Returned("GetQualifier", qualifier("values"));
    EXPECT_EQ(values, "<QUALIFIER.DECLARATION NAME=\"Values\" TYPE=\"string\" ISARRAY=\"true\" TRANSLATABLE=\"true\">"
                      "<SCOPE PROPERTY=\"true\" METHOD=\"true\" PARAMETER=\"true\"></SCOPE></QUALIFIER.DECLARATION>");
    const std::string key = Returned("GetQualifier", qualifier("Key"));
    EXPECT_EQ(key, "<QUALIFIER.DECLARATION NAME=\"Key\" TYPE=\"boolean\" OVERRIDABLE=\"false\">"
                   "<SCOPE REFERENCE=\"true\" PROPERTY=\"true\"></SCOPE><VALUE>FALSE</VALUE></QUALIFIER.DECLARATION>");
    const std::string all = Returned("EnumerateQualifiers", "");
    EXPECT_NE(all.find(values), std::string::npos);
    EXPECT_NE(all.find(key), std::string::npos);
    EXPECT_EQ(Error("GetQualifier", qualifier("MaxLen")), "6: there is no qualifier MaxLen");
    EXPECT_EQ(Error("GetQualifier", ""), "4: QualifierName is missing");
}

TEST_F(Operations, WhatWouldChangeInstancesComesBackWithTheProvidersRefusal) {
    const std::string instance = "<INSTANCE CLASSNAME=\"Test_Box\"><QUALIFIER NAME=\"Q\" TYPE=\"string\"/>"
                                 "<PROPERTY NAME=\"Name\" TYPE=\"string\"><VALUE>new</VALUE></PROPERTY>"
                                 "<PROPERTY.ARRAY NAME=\"States\" TYPE=\"uint16\"><VALUE.ARRAY><VALUE>1</VALUE>"
                                 "</VALUE.ARRAY></PROPERTY.ARRAY></INSTANCE>";
    EXPECT_EQ(Error("CreateInstance", Parameter("NewInstance", instance)), "11: the shelf is full");
    EXPECT_EQ(Error("ModifyInstance", Parameter("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + std::string(kLeftName) +
                                                                        instance + "</VALUE.NAMEDINSTANCE>")),
              "2: boxes stay as they are");
    EXPECT_EQ(Error("DeleteInstance", kLeft), "1: boxes stay") << "no code of CIM's own is told as a failure";
    const std::string query = Parameter("QueryLanguage", "<VALUE>WQL</VALUE>") +
                              Parameter("Query", "<VALUE>select * from Test_Box where Slot = 1</VALUE>");
    EXPECT_EQ(Error("ExecQuery", query), "14: The query language is not supported");
    EXPECT_EQ(Error("ExecQuery", Parameter("QueryLanguage", "<VALUE>WQL</VALUE>") +
                                     Parameter("Query", "<VALUE>boxes, please</VALUE>")),
              "15: the query names no class to select from");
    EXPECT_EQ(Error("CreateInstance", Parameter("NewInstance", "<INSTANCE CLASSNAME=\"Test_Box\"><PROPERTY "
                                                               "NAME=\"Slot\" TYPE=\"uint8\"><VALUE>many</VALUE>"
                                                               "</PROPERTY></INSTANCE>")),
              "4: property Slot: &quot;many&quot; is no uint8");
}

TEST_F(Operations, WhatIsNotThereOrNotSupportedHasItsCimError) {
    EXPECT_EQ(Error("EnumerateInstances", ClassParameter("Test_Box"), "root/none"),
              "3: there is no namespace root/none");
    for (const char *nameSpace : {"root/test", "root/cimv2", "root/interop"}) {
        for (const char *method : {"EnumerateInstances", "EnumerateInstanceNames"}) {
            EXPECT_EQ(ResponseIn(Call(method, ClassParameter("Test_Unserved"), nameSpace)),
                      "<IRETURNVALUE></IRETURNVALUE>");
            EXPECT_EQ(Error(method, ClassParameter("Test_None"), nameSpace), "5: there is no class Test_None");
        }
    }
    for (const char *method : {"OpenEnumerateInstances", "PullInstancesWithPath", "CloseEnumeration", "GetProperty",
                               "SetProperty", "CreateClass", "SetQualifier", "Nonsense"}) {
        EXPECT_EQ(Error(method, ""), std::string("7: ") + method + " is not supported by this server");
    }
}

TEST_F(Operations, WrongParametersAreNamed) {
    const std::string box = ClassParameter("Test_Box");
    std::string many;
    for (int i = 0; i <= 1000; ++i) many += "Name ";
    const struct {
        const char *method;
        std::string parameters;
        const char *error;
    } kCases[] = {
        {"EnumerateInstances", "", "4: ClassName is missing"},
        {"EnumerateInstances", Parameter("ClassName", ""), "4: ClassName is missing"},
        {"EnumerateInstances", box + box, "4: ClassName is there twice"},
        {"EnumerateInstances", box + Bool("Verbose", "true"), "4: Verbose is no parameter of this operation"},
        {"EnumerateInstances", box + Bool("LocalOnly", "yes"),
         "4: LocalOnly: &quot;yes&quot; is neither TRUE nor FALSE"},
        {"EnumerateInstances", box + Bool("PropertyList", "Name"), "4: PropertyList: VALUE where VALUE.ARRAY belongs"},
        {"EnumerateInstances", Bool("ClassName", "Test_Box"), "4: ClassName: VALUE where CLASSNAME belongs"},
        {"EnumerateInstances", box + Names(many), "4: PropertyList: more than 1000 names"},
        {"GetInstance", Parameter("InstanceName", "<CLASSNAME NAME=\"Test_Box\"/>"),
         "4: InstanceName: CLASSNAME where INSTANCENAME belongs"},
    };
    for (const auto &each : kCases) EXPECT_EQ(Error(each.method, each.parameters), each.error);
    EXPECT_EQ(Returned("enumerateinstancenames", Parameter("CLASSNAME", "<CLASSNAME NAME=\"TEST_box\"/>")),
              std::string(kLeftName) + kRightName)
        << "names are taken without regard to case";
}

TEST_F(Operations, InteropTellsTheNamespaces) {
    const std::string all = Returned("EnumerateInstances", ClassParameter("cim_namespace"), "root/interop");
    for (const char *name : {"root/cimv2", "root/interop", "root/test"}) {
        EXPECT_NE(all.find("<PROPERTY NAME=\"Name\" TYPE=\"string\"><VALUE>" + std::string(name) + "</VALUE>"),
                  std::string::npos)
            << all;
    }
    const std::string names = Returned("EnumerateInstanceNames", ClassParameter("CIM_Namespace"), "root/Interop");
    const std::string first = names.substr(0, names.find("</INSTANCENAME>") + 15);
    EXPECT_EQ(Returned("GetInstance", Parameter("InstanceName", first) + Names("Name"), "root/interop"),
              "<INSTANCE CLASSNAME=\"CIM_Namespace\"><PROPERTY NAME=\"Name\" TYPE=\"string\">"
              "<VALUE>root/cimv2</VALUE></PROPERTY></INSTANCE>");
    EXPECT_EQ(
        Error("GetInstance", Parameter("InstanceName", TextWith(first, ">root/cimv2<", ">root/none<")), "root/interop"),
        "6: The object was not found");
    EXPECT_EQ(Returned("EnumerateInstanceNames", ClassParameter("CIM_Namespace"), "root/test"), "");
}

TEST_F(Operations, InteropTellsOfTheServer) {
    const std::string manager = Returned("EnumerateInstances", ClassParameter("CIM_ObjectManager"), "root/interop");
    EXPECT_NE(manager.find("<PROPERTY NAME=\"ElementName\" TYPE=\"string\"><VALUE>Quarnel</VALUE>"), std::string::npos);
    EXPECT_TRUE(std::regex_search(manager, std::regex("<VALUE>[^<]* Version \\d+\\.\\d+\\.\\d+</VALUE>"))) << manager;
    const std::string name = Returned("EnumerateInstanceNames", ClassParameter("CIM_ObjectManager"), "root/interop");
    EXPECT_EQ(manager.find(name), manager.find("<INSTANCENAME")) << "there is one";
    EXPECT_EQ("<VALUE.NAMEDINSTANCE>" + name +
                  Returned("GetInstance", Parameter("InstanceName", name), "root/interop") + "</VALUE.NAMEDINSTANCE>",
              manager);
    EXPECT_EQ(Returned("EnumerateInstanceNames", ClassParameter("CIM_ManagedElement"), "root/interop"),
              name + Returned("EnumerateInstanceNames", ClassParameter("CIM_Namespace"), "root/interop"));
    const std::string elements = Returned(
        "EnumerateInstances", ClassParameter("CIM_ManagedElement") + Bool("DeepInheritance", "false"), "root/interop");
    EXPECT_NE(elements.find(">Quarnel<"), std::string::npos);
    EXPECT_EQ(elements.find("PROPERTY NAME=\"Started\""), std::string::npos);
}

} // namespace

} // namespace cim::wbem
