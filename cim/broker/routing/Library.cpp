#include "cim/broker/routing/Library.h"

#include <dlfcn.h>
#include <unistd.h>

namespace cim {

std::unique_ptr<Library> Library::Open(const std::string &location, const std::vector<std::string> &folders,
                                       std::string *error) {
    const std::string name = "lib" + location + ".so";
    std::string searched;
    for (const std::string &folder : folders) {
        const std::string file = std::string(folder).append("/").append(name);
        if (access(file.c_str(), F_OK) != 0) {
            searched.append(searched.empty() ? "" : ", ").append(folder);
            continue;
        }
        void *handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle != nullptr) return std::unique_ptr<Library>(new Library(handle, file));
        *error = dlerror();
        return nullptr;
    }
    *error = name + " is not in " + (searched.empty() ? "any folder: none was named" : searched);
    return nullptr;
}

Library::~Library() { dlclose(handle); }

void *Library::Symbol(const std::string &name, std::string *error) const {
    void *symbol = dlsym(handle, name.c_str());
    if (symbol == nullptr) *error = file + " has no " + name;
    return symbol;
}

} // namespace cim
