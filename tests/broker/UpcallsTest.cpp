// What a provider hears when it asks through the broker.
#include "tests/broker/Scripted.h"

#include <cstring>
#include <thread>

namespace cim::test {
namespace {

using Ids = std::vector<std::string>;

class Upcalls : public Scripted {
protected:
    Upcalls() {
        Start();
        context = broker->BeginInvocation("root/back");
        cmpi = broker->Handle();
        path = NewPath(cmpi, "root/back", "T_Disk", "1");
    }
    void TearDown() override {
        broker->EndInvocation(context);
        Scripted::TearDown();
    }

    const CMPIBroker *cmpi = nullptr;
    const CMPIContext *context = nullptr;
    CMPIObjectPath *path = nullptr;
    CMPIStatus status{CMPI_RC_ERROR, nullptr};
};

TEST_F(Upcalls, AssociationsReachProvidersWithAllTheirArguments) {
    const char *properties[] = {"Caption", nullptr};
    const auto expectArguments = [](const Asked &call, bool roles) {
        EXPECT_STREQ(call.associationClass, "T_Link");
        EXPECT_STREQ(call.role, "Antecedent");
        if (roles) {
            EXPECT_STREQ(call.resultClass, "T_Device");
            EXPECT_STREQ(call.resultRole, "Dependent");
        }
        if (call.properties != nullptr) {
            EXPECT_STREQ(call.properties[0], "Caption");
            EXPECT_EQ(call.properties[1], nullptr);
        }
    };
    const auto link = [](const Asked &call) {
        CMPIObjectPath *made = NewPath(call.broker, "root/back", "T_DeviceLink", "link");
        CMPIValue source = CMPIValue();
        source.ref = const_cast<CMPIObjectPath *>(call.path);
        made->ft->addKey(made, "Antecedent", &source, CMPI_ref);
        CMPIInstance *instance = call.broker->eft->newInstance(call.broker, made, nullptr);
        instance->ft->setProperty(instance, "Antecedent", &source, CMPI_ref);
        return std::pair(made, instance);
    };
    back.associators = [&](const Asked &call) {
        return expectArguments(call, true), ReturnInstance(call, "a", "T_Fan");
    };
    back.associatorNames = [&](const Asked &call) {
        return expectArguments(call, true), ReturnPath(call, "n", "T_Fan");
    };
    back.references = [&](const Asked &call) {
        expectArguments(call, false);
        return call.result->ft->returnInstance(call.result, link(call).second);
    };
    back.referenceNames = [&](const Asked &call) {
        expectArguments(call, false);
        return call.result->ft->returnObjectPath(call.result, link(call).first);
    };
    const auto *bft = cmpi->bft;
    EXPECT_EQ(IdsOf(bft->associators(cmpi, context, path, "T_Link", "T_Device", "Antecedent", "Dependent", properties,
                                     &status)),
              (Ids{"a"}));
    EXPECT_EQ(
        IdsOf(bft->associatorNames(cmpi, context, path, "T_Link", "T_Device", "Antecedent", "Dependent", &status)),
        (Ids{"n"}));
    EXPECT_EQ(IdsOf(bft->references(cmpi, context, path, "T_Link", "Antecedent", properties, &status)), (Ids{"link"}));
    EXPECT_EQ(IdsOf(bft->referenceNames(cmpi, context, path, "T_Link", "Antecedent", &status)), (Ids{"link"}));
    EXPECT_EQ(status.rc, CMPI_RC_OK);
}

TEST_F(Upcalls, AnUnknownAssociationClassFailsAndAnUnservedOneIsEmpty) {
    const auto ask = [&](const char *associationClass) {
        return cmpi->bft->associators(cmpi, context, path, associationClass, nullptr, nullptr, nullptr, nullptr,
                                      &status);
    };
    EXPECT_EQ(ask("T_Unheard"), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_FAILED);
    EXPECT_EQ(TextOf(status.msg), "unknown class T_Unheard");
    EXPECT_EQ(IdsOf(ask("T_UnservedLink")), Ids{});
    EXPECT_EQ(status.rc, CMPI_RC_OK);
    path->ft->setNameSpace(path, "root/nowhere");
    EXPECT_EQ(ask("T_Link"), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_NAMESPACE);
}

TEST_F(Upcalls, InstancesAreReadMadeChangedAndDeleted) {
    back.enumerateInstanceNames = [](const Asked &call) { return ReturnPath(call, "n"); };
    back.getInstance = [](const Asked &call) { return ReturnInstance(call, "g"); };
    back.createInstance = [](const Asked &call) { return ReturnPath(call, "c"); };
    back.modifyInstance = [](const Asked &) { return kOk; };
    back.deleteInstance = [](const Asked &) { return CMPIStatus{CMPI_RC_ERR_ACCESS_DENIED, nullptr}; };
    back.execQuery = [](const Asked &call) { return ReturnInstance(call, call.query); };
    const auto *bft = cmpi->bft;
    EXPECT_EQ(IdsOf(bft->enumerateInstanceNames(cmpi, context, path, &status)), (Ids{"n"}));
    const CMPIInstance *instance = bft->getInstance(cmpi, context, path, nullptr, &status);
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(TextOf(instance->ft->getProperty(instance, "ID", nullptr)), "g");
    const CMPIObjectPath *created = bft->createInstance(cmpi, context, path, instance, &status);
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(TextOf(created->ft->getKey(created, "ID", nullptr)), "c");
    EXPECT_EQ(bft->modifyInstance(cmpi, context, path, instance, nullptr).rc, CMPI_RC_OK);
    EXPECT_EQ(bft->deleteInstance(cmpi, context, path).rc, CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_EQ(IdsOf(bft->execQuery(cmpi, context, path, "q", "WQL", &status)), (Ids{"q"}));

    EXPECT_EQ(bft->createInstance(cmpi, context, path, nullptr, &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(bft->modifyInstance(cmpi, context, path, nullptr, nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(bft->deleteInstance(cmpi, context, nullptr).rc, CMPI_RC_ERR_INVALID_PARAMETER);
    status.rc = CMPI_RC_OK;
    EXPECT_EQ(bft->execQuery(cmpi, nullptr, path, "q", "WQL", &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_PARAMETER);
}

TEST_F(Upcalls, RefusalsComeBackWithTheirText) {
    back.getInstance = [](const Asked &call) {
        return CMPIStatus{CMPI_RC_ERR_ACCESS_DENIED, call.broker->eft->newString(call.broker, "not today", nullptr)};
    };
    EXPECT_EQ(cmpi->bft->getInstance(cmpi, context, path, nullptr, &status), nullptr);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_EQ(TextOf(status.msg), "not today");
    EXPECT_EQ(cmpi->bft->getProperty(cmpi, context, path, "ID", &status).state, CMPI_badValue);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_EQ(cmpi->bft->setProperty(cmpi, context, path, "ID", nullptr, CMPI_string).rc, CMPI_RC_ERR_ACCESS_DENIED);
    EXPECT_EQ(cmpi->bft->getInstance(cmpi, context, path, nullptr, nullptr), nullptr); // nobody wants to know
}

// A thread that never attached is served as well; what it was lent lives as long as it may be in use.
TEST_F(Upcalls, AThreadWithoutAContextOfItsOwnIsServed) {
    back.enumerateInstances = [](const Asked &call) { return ReturnInstance(call, "1"); };
    const std::uint64_t before = broker->Live().lent;
    std::thread([&] {
        CMPIEnumeration *found = cmpi->bft->enumerateInstances(cmpi, context, path, nullptr, nullptr);
        EXPECT_EQ(broker->Live().lent, before + 1);
        found->ft->release(found);
    }).join();
    EXPECT_EQ(broker->Live().lent, before);
}

} // namespace
} // namespace cim::test
