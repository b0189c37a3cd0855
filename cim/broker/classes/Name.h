#pragma once

#include "cim/values/Text.h"

#include <memory>
#include <ostream>
#include <string>
#include <string_view>

namespace cim {

// A name that is shared by its copies. Those that classes give to their properties last as long as the process, which
// reads so many classes and no more: a copy of such a name does not even count.
class Name {
public:
    Name() = default;
    Name(std::string own) : text(std::make_shared<const std::string>(std::move(own))) {}
    Name(const char *own) : Name(std::string(own)) {}
    static Name Lasting(const std::string &text); // of any thread

    const std::string &Text() const { return text != nullptr ? *text : kEmpty; }
    operator const std::string &() const { return Text(); }
    operator std::string_view() const { return Text(); }

    friend bool operator==(const Name &a, const Name &b) { return a.text == b.text || a.Text() == b.Text(); }
    friend bool operator==(const Name &a, std::string_view b) { return a.Text() == b; }
    friend bool operator==(const Name &a, const std::string &b) { return a.Text() == b; }
    friend bool operator==(const Name &a, const char *b) { return a.Text() == b; }
    friend bool operator!=(const Name &a, std::string_view b) { return a.Text() != b; }
    friend bool operator<(const Name &a, const Name &b) { return a.Text() < b.Text(); }
    friend std::ostream &operator<<(std::ostream &out, const Name &name) { return out << name.Text(); }

private:
    inline static const std::string kEmpty;

    std::shared_ptr<const std::string> text; // of a lasting name without an owner, so that none is counted
};

} // namespace cim
