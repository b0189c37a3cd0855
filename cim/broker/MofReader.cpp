// A recursive descent over the parts of MOF that declare classes; everything else is skipped by its brackets.
#include "cim/broker/MofReader.h"

#include "cim/broker/Value.h"

namespace cim {
namespace {

constexpr struct {
    const char *name;
    CMPIType type;
} kTypeNames[] = {
    {"boolean", CMPI_boolean}, {"string", CMPI_string}, {"datetime", CMPI_dateTime}, {"char16", CMPI_char16},
    {"uint8", CMPI_uint8},     {"uint16", CMPI_uint16}, {"uint32", CMPI_uint32},     {"uint64", CMPI_uint64},
    {"sint8", CMPI_sint8},     {"sint16", CMPI_sint16}, {"sint32", CMPI_sint32},     {"sint64", CMPI_sint64},
    {"real32", CMPI_real32},   {"real64", CMPI_real64}, {"ref", CMPI_ref},
};

struct Qualifiers {
    bool key = false;
    bool association = false;
};

class Reader {
public:
    explicit Reader(std::string_view text) : lexer(text) { Step(); }
    std::vector<MofClass> Read();

private:
    void Step() { token = lexer.Next(); }
    [[noreturn]] void Unexpected(const std::string &wanted) const {
        throw TextError{token.line, wanted + " expected, found '" + std::string(token.text) + "'"};
    }
    void Expect(char mark) {
        if (!token.Is(mark)) Unexpected(std::string("'") + mark + "'");
        Step();
    }
    bool Take(char mark) {
        const bool there = token.Is(mark);
        if (there) Step();
        return there;
    }
    std::string Word(const char *wanted) {
        if (token.kind != MofToken::Kind::Word) Unexpected(wanted);
        std::string word(token.text);
        Step();
        return word;
    }
    void SkipGroup();
    void SkipToSemicolon();
    void SkipPragma();
    Qualifiers ReadQualifiers();
    MofClass ReadClass(const Qualifiers &qualifiers);
    void ReadFeature(MofClass &to);

    MofLexer lexer;
    MofToken token;
};

// From an opening bracket to behind the one that closes it.
void Reader::SkipGroup() {
    const MofToken start = token;
    std::string closing;
    do {
        if (token.kind == MofToken::Kind::End)
            throw TextError{start.line, "'" + std::string(start.text) + "' is never closed"};
        if (token.Is('(')) closing += ')';
        if (token.Is('[')) closing += ']';
        if (token.Is('{')) closing += '}';
        if (token.Is(')') || token.Is(']') || token.Is('}')) {
            if (token.text[0] != closing.back()) Unexpected(std::string("'") + closing.back() + "'");
            closing.pop_back();
        }
        Step();
    } while (!closing.empty());
}

void Reader::SkipToSemicolon() {
    while (!token.Is(';')) {
        if (token.kind == MofToken::Kind::End || token.Is(')') || token.Is(']') || token.Is('}')) Unexpected("';'");
        if (token.Is('(') || token.Is('[') || token.Is('{'))
            SkipGroup();
        else
            Step();
    }
    Step();
}

void Reader::SkipPragma() {
    Expect('#');
    if (!token.Is("pragma")) Unexpected("'pragma'");
    Step();
    Word("name of a pragma");
    if (!token.Is('(')) Unexpected("'('");
    SkipGroup();
}

// [Name, Name(value), Name{values} : Flavor Flavor, ...]
Qualifiers Reader::ReadQualifiers() {
    Qualifiers found;
    if (!token.Is('[')) return found;
    const int start = token.line;
    Step();
    for (;;) {
        const std::string name = Word("name of a qualifier");
        bool on = true;
        if (token.Is('(')) {
            Step();
            on = !token.Is("false");
            while (!token.Is(')')) {
                if (token.kind == MofToken::Kind::End) throw TextError{start, "'[' is never closed"};
                if (token.Is('(') || token.Is('[') || token.Is('{'))
                    SkipGroup();
                else
                    Step();
            }
            Step();
        } else if (token.Is('{')) {
            SkipGroup();
        }
        if (Take(':'))
            while (token.kind == MofToken::Kind::Word) Step();
        if (SameName(name, "Key")) found.key = on;
        if (SameName(name, "Association")) found.association = on;
        if (Take(']')) return found;
        if (!token.Is(',')) Unexpected("',' or ']'");
        Step();
    }
}

// [qualifiers] TYPE NAME, TYPE NAME[], CLASS ref NAME, each with a default value or not; or TYPE METHOD(...).
void Reader::ReadFeature(MofClass &to) {
    const Qualifiers qualifiers = ReadQualifiers();
    const int line = token.line;
    const std::string type = Word("type of a property");
    PropertyDeclaration property;
    property.key = qualifiers.key;
    property.originClass = to.declaration.name;
    if (token.Is("ref")) {
        Step();
        property.type = CMPI_ref;
        property.referenceClass = type;
    } else {
        for (const auto &known : kTypeNames)
            if (SameName(type, known.name) && known.type != CMPI_ref) property.type = known.type;
        if (property.type == CMPI_null) throw TextError{line, "unknown type '" + type + "'"};
    }
    property.name = Name::Lasting(Word("name of a property"));
    if (token.Is('(')) {
        SkipGroup();
        Expect(';');
        return;
    }
    if (Take('[')) {
        if (token.kind == MofToken::Kind::Number) Step();
        Expect(']');
        property.type = static_cast<CMPIType>(property.type | CMPI_ARRAY);
    }
    if (!token.Is(';') && !token.Is('=')) Unexpected("';' or '='");
    SkipToSemicolon();
    if (to.declaration.Property(property.name) != nullptr)
        throw TextError{line, "property '" + property.name.Text() + "' is declared a second time"};
    to.declaration.properties.Add(std::move(property));
    to.propertyLines.push_back(line);
}

MofClass Reader::ReadClass(const Qualifiers &qualifiers) {
    MofClass result;
    result.line = token.line;
    Step();
    result.declaration.name = Word("name of a class");
    result.declaration.association = qualifiers.association;
    if (token.Is("as")) {
        Step();
        Word("alias");
    }
    if (Take(':')) result.declaration.superclass = Word("name of a superclass");
    Expect('{');
    while (!token.Is('}')) {
        if (token.kind == MofToken::Kind::End)
            throw TextError{result.line, "class '" + result.declaration.name + "' is never closed"};
        ReadFeature(result);
    }
    Step();
    Expect(';');
    return result;
}

std::vector<MofClass> Reader::Read() {
    std::vector<MofClass> classes;
    while (token.kind != MofToken::Kind::End) {
        if (token.Is('#')) {
            SkipPragma();
            continue;
        }
        const Qualifiers qualifiers = ReadQualifiers();
        if (token.Is("class"))
            classes.push_back(ReadClass(qualifiers));
        else if (token.Is("instance") || token.Is("qualifier"))
            SkipToSemicolon();
        else
            Unexpected("'class', 'instance' or 'qualifier'");
    }
    return classes;
}

} // namespace

std::vector<MofClass> ReadMof(std::string_view text) {
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    return Reader(text).Read();
}

const char *NameOfType(CMPIType type) {
    for (const auto &known : kTypeNames)
        if (known.type == (type & ~CMPI_ARRAY)) return known.name;
    return "no type";
}

} // namespace cim
