#include "cim/broker/routing/CallFrame.h"

namespace cim {

CallFrame::CallFrame(Core &core, const Provider *provider, const std::string &nameSpace, Origin origin)
    : layer(Threads::Mine().Push(core, Layer::Kind::Call, provider)),
      context(core, provider,
              {{CMPIInvocationFlags, Value::Unsigned(CMPI_uint32, 0)},
               {CMPIInitNameSpace, Value::Text(nameSpace)},
               {CMPIPrincipal, Value::Text("")}}) {
    if (origin == Origin::Client) layer->background = false;
    layer->context = &context;
}

CallFrame::~CallFrame() {
    Threads::Mine().PopCall(layer.get());
    layer->scope.Free();
}

} // namespace cim
