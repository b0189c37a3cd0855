#include "cim/client/Hosted.h"

#include <fmt/format.h>

namespace cim {

namespace {

class HostedConnection : public Connection {
public:
    explicit HostedConnection(Broker &asked) : broker(asked) {}

    Answer<std::vector<Instance>> EnumerateInstances(const std::string &nameSpace,
                                                     const std::string &className) override {
        return Told(className, broker.EnumerateInstances(nameSpace, className));
    }
    Answer<Instance> GetInstance(const ObjectPath &path) override {
        return Told(path.className, broker.GetInstance(path));
    }
    Answer<std::vector<Instance>> Associators(const ObjectPath &source, const std::string &associationClass,
                                              const std::string &resultClass) override {
        return Told(associationClass, broker.Associators(source, associationClass, resultClass));
    }
    Answer<std::vector<ObjectPath>> AssociatorNames(const ObjectPath &source, const std::string &associationClass,
                                                    const std::string &resultClass) override {
        return Told(associationClass, broker.AssociatorNames(source, associationClass, resultClass));
    }
    Answer<ClassDeclaration> GetClass(const std::string &, const std::string &className) override {
        const ClassDeclaration *found = broker.Classes().Find(className);
        if (found == nullptr) return Told<ClassDeclaration>(className, {{CMPI_RC_ERR_NOT_FOUND, "unknown class"}, {}});
        return {{}, *found};
    }

private:
    template <class T> static Answer<T> Told(const std::string &about, Answer<T> answer) {
        if (!answer.Ok()) {
            answer.status.message =
                fmt::format("{}: {} (CIM status {})", about, answer.status.message, static_cast<int>(answer.status.rc));
        }
        return answer;
    }

    Broker &broker;
};

} // namespace

std::unique_ptr<Connection> Hosted(Broker &broker) { return std::make_unique<HostedConnection>(broker); }

} // namespace cim
