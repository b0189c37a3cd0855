#include "cim/program/Source.h"

#include "cim/client/Hosted.h"

namespace cim {

std::unique_ptr<Source> Source::Open(const SourceOptions &options, Trouble *trouble, std::string *error) {
    const auto fail = [trouble](Trouble what) {
        *trouble = what;
        return nullptr;
    };
    auto source = std::make_unique<Source>();
    if (!options.server.url.empty()) {
        source->connection = Connect(options.server, error);
        return source->connection != nullptr ? std::move(source) : fail(Trouble::Usage);
    }
    source->broker = StartHosting(options.hosting, error);
    if (source->broker == nullptr) return fail(Trouble::Usage);
    switch (WaitForFirstBuild(*source->broker, options.hosting, error)) {
    case FirstBuild::Failed:
        return fail(Trouble::Provider);
    case FirstBuild::Running:
        source->unread = *error;
        break;
    case FirstBuild::Done:
        break;
    }
    source->connection = Hosted(*source->broker);
    return source;
}

} // namespace cim
