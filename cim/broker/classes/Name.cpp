#include "cim/broker/classes/Name.h"

#include <mutex>
#include <set>

namespace cim {

Name Name::Lasting(const std::string &text) {
    static std::mutex mutex;
    static auto &texts = *new std::set<std::string>; // guarded by mutex; never freed, for those who still have names
    const std::lock_guard<std::mutex> lock(mutex);
    Name name;
    name.text = {std::shared_ptr<void>(), &*texts.insert(text).first};
    return name;
}

} // namespace cim
