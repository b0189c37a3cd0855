// A recursive descent over the parts of MOF that declare classes, and the qualifiers that are kept of them; everything
// else is skipped by its brackets.
#include "cim/broker/classes/MofReader.h"

#include "cim/values/Types.h"

namespace cim {
namespace {

// The texts of Values and ValueMap belong together by their places.
void RequirePairs(const Qualifiers &qualifiers, int line) {
    const auto count = [&](const char *name) {
        const Value *value = ValueOfQualifier(qualifiers, name);
        return value != nullptr ? value->As<Value::Elements>()->size() : 0;
    };
    const std::size_t values = count("Values"), numbers = count("ValueMap");
    if (values != 0 && numbers != 0 && values != numbers)
        throw TextError{line,
                        "Values has " + std::to_string(values) + " texts and ValueMap " + std::to_string(numbers)};
}

class MofParser {
public:
    explicit MofParser(std::string_view text) : lexer(text) { Step(); }
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
    std::string ReadText();
    Value ReadQualifierValue(CMPIType type);
    Qualifiers ReadQualifiers();
    MofClass ReadClass(const Qualifiers &qualifiers);
    void ReadFeature(MofClass &to);

    MofLexer lexer;
    MofToken token;
};

// From an opening bracket to behind the one that closes it.
void MofParser::SkipGroup() {
    constexpr std::string_view kOpening = "([{", kClosing = ")]}";
    const MofToken start = token;
    std::string closing;
    do {
        if (token.kind == MofToken::Kind::End)
            throw TextError{start.line, "'" + std::string(start.text) + "' is never closed"};
        const char mark = token.kind == MofToken::Kind::Mark ? token.text[0] : ' ';
        if (const std::size_t opened = kOpening.find(mark); opened != std::string_view::npos)
            closing += kClosing[opened];
        if (kClosing.find(mark) != std::string_view::npos) {
            if (mark != closing.back()) Unexpected(std::string("'") + closing.back() + "'");
            closing.pop_back();
        }
        Step();
    } while (!closing.empty());
}

void MofParser::SkipToSemicolon() {
    while (!token.Is(';')) {
        if (token.kind == MofToken::Kind::End || token.Is(')') || token.Is(']') || token.Is('}')) Unexpected("';'");
        if (token.Is('(') || token.Is('[') || token.Is('{'))
            SkipGroup();
        else
            Step();
    }
    Step();
}

void MofParser::SkipPragma() {
    Expect('#');
    if (!token.Is("pragma")) Unexpected("'pragma'");
    Step();
    Word("name of a pragma");
    if (!token.Is('(')) Unexpected("'('");
    SkipGroup();
}

// Adjoining texts are one: "in " "two parts".
std::string MofParser::ReadText() {
    if (token.kind != MofToken::Kind::Text) Unexpected("text");
    std::string text;
    for (; token.kind == MofToken::Kind::Text; Step()) text += Unescaped(token);
    return text;
}

// A boolean's value may be left out: true.
Value MofParser::ReadQualifierValue(CMPIType type) {
    Value value = Value::Boolean(true);
    if ((type & CMPI_ARRAY) != 0) {
        Value::Elements texts;
        Expect('{');
        do texts.push_back(Value::Text(ReadText()));
        while (Take(','));
        Expect('}');
        return Value::ArrayOf(CMPI_string, std::move(texts));
    }
    if (type == CMPI_boolean && !token.Is('(')) return value;
    Expect('(');
    if (type == CMPI_boolean) {
        if (!token.Is("true") && !token.Is("false")) Unexpected("'true' or 'false'");
        value = Value::Boolean(token.Is("true"));
        Step();
    } else {
        value = Value::Text(ReadText());
    }
    Expect(')');
    return value;
}

// [Name, Name(value), Name{values} : Flavor Flavor, ...]
Qualifiers MofParser::ReadQualifiers() {
    if (!token.Is('[')) return nullptr;
    const int start = token.line;
    Step();
    std::vector<Qualifier> kept;
    for (;;) {
        const int line = token.line;
        const std::string name = Word("name of a qualifier");
        const QualifierDeclaration *declaration = FindQualifier(name);
        if (declaration != nullptr) {
            for (const Qualifier &each : kept)
                if (each.declaration == declaration)
                    throw TextError{line, "qualifier '" + name + "' is given a second time"};
            kept.push_back({declaration, ReadQualifierValue(declaration->type)});
        } else if (token.Is('(') || token.Is('{')) {
            SkipGroup();
        }
        if (Take(':'))
            while (token.kind == MofToken::Kind::Word) Step();
        if (Take(']')) break;
        if (token.kind == MofToken::Kind::End) throw TextError{start, "'[' is never closed"};
        if (!token.Is(',')) Unexpected("',' or ']'");
        Step();
    }
    if (kept.empty()) return nullptr;
    auto qualifiers = std::make_shared<const std::vector<Qualifier>>(std::move(kept));
    RequirePairs(qualifiers, start);
    return qualifiers;
}

// [qualifiers] TYPE NAME, TYPE NAME[], CLASS ref NAME, each with a default value or not; or TYPE METHOD(...).
void MofParser::ReadFeature(MofClass &to) {
    const Qualifiers qualifiers = ReadQualifiers();
    const int line = token.line;
    const std::string type = Word("type of a property");
    PropertyDeclaration property;
    property.qualifiers = qualifiers;
    property.key = IsTrue(qualifiers, "Key");
    property.originClass = to.declaration.name;
    if (token.Is("ref")) {
        Step();
        property.type = CMPI_ref;
        property.referenceClass = type;
    } else {
        property.type = TypeNamed(LowerCase(type));
        if (property.type == CMPI_null || property.type == CMPI_ref)
            throw TextError{line, "unknown type '" + type + "'"};
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

MofClass MofParser::ReadClass(const Qualifiers &qualifiers) {
    MofClass result;
    result.line = token.line;
    Step();
    result.declaration.name = Word("name of a class");
    result.declaration.qualifiers = qualifiers;
    result.declaration.association = IsTrue(qualifiers, "Association");
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

std::vector<MofClass> MofParser::Read() {
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
    return MofParser(text).Read();
}

} // namespace cim
