// A provider's function, or the client's own code, at work on the calling thread. Ends with all that was lent to it.
#pragma once

#include "cim/broker/objects/Objects.h"

namespace cim {

class CallFrame {
public:
    enum class Origin {
        Client, // a request, or the broker's own doing
        Nested, // whatever the thread is doing
    };
    CallFrame(Core &core, const Provider *provider, const std::string &nameSpace, Origin origin);
    ~CallFrame();
    CallFrame(const CallFrame &) = delete;
    CallFrame &operator=(const CallFrame &) = delete;

    const CMPIContext *Context() const { return &context.handle; }

private:
    std::shared_ptr<Layer> layer;
    ContextObject context;
};

} // namespace cim
