// A provider's shared library.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace cim {

class Library {
public:
    // lib<location>.so from the first of the folders that has it. Null, with the reason in `error`.
    static std::unique_ptr<Library> Open(const std::string &location, const std::vector<std::string> &folders,
                                         std::string *error);
    ~Library();
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    void *Symbol(const std::string &name, std::string *error) const;

private:
    Library(void *opened, std::string name) : handle(opened), file(std::move(name)) {}

    void *const handle;
    const std::string file;
};

} // namespace cim
