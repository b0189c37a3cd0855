// A provider with a thread of its own, which makes one up-call and may be in it when the library has long been
// unloaded: so the library keeps itself mapped.
#include <cmpift.h>

#include <dlfcn.h>
#include <string>
#include <thread>

namespace {

const CMPIBroker *broker;

struct AtThreadsEnd {
    std::string text = "something that the end of the thread has to free";
};

void Work(const CMPIContext *prepared) {
    thread_local const AtThreadsEnd end;
    broker->bft->attachThread(broker, prepared);
    const CMPIObjectPath *path =
        broker->eft->newObjectPath(broker, "root/back", end.text.empty() ? "" : "T_Fan", nullptr);
    broker->bft->enumerateInstances(broker, prepared, path, nullptr, nullptr);
    broker->bft->detachThread(broker, prepared);
}

CMPIStatus Cleanup(CMPIInstanceMI *, const CMPIContext *, CMPIBoolean) { return {CMPI_RC_OK, nullptr}; }

const CMPIInstanceMIFT kTable = {100,     100,     "late",  Cleanup, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr, nullptr};
CMPIInstanceMI mi{nullptr, &kTable};

} // namespace

extern "C" __attribute__((visibility("default"))) CMPIInstanceMI *
LateProvider_Create_InstanceMI(const CMPIBroker *given, const CMPIContext *context, CMPIStatus *) {
    Dl_info own;
    if (dladdr(&mi, &own) == 0 || dlopen(own.dli_fname, RTLD_NOW) == nullptr) return nullptr;
    broker = given;
    std::thread(Work, broker->bft->prepareAttachThread(broker, context)).detach();
    return &mi;
}
