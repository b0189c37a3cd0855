// The simulated vendor's library in the embedded broker, with a description that the test writes.
#pragma once

#include "cim/broker/Broker.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Values.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace vendor {

using Texts = std::vector<std::string>;

// What a file beside the tests says.
std::string TextOf(const std::string &name);

class Vendor : public testing::Test {
protected:
    Vendor();
    ~Vendor() override; // fails the test when a broker's object is left

    // Replaces the description in one step; the first one starts the broker.
    void Describe(const std::string &text);
    std::string File() const { return folder / "hardware.json"; }

    // Requests that are expected to succeed.
    std::vector<cim::Instance> Instances(const std::string &className, cim::PropertyList properties = nullptr);
    // The one instance of the class whose own key (DeviceID, InstanceID, Tag or Name) has that value.
    cim::Instance One(const std::string &className, const std::string &id);

    const support::TemporaryFolder folder;
    cim::BrokerConfig config;
    std::unique_ptr<cim::Broker> broker;
};

// "Class id"
std::string ShortName(const cim::ObjectPath &path);
Texts ShortNames(const std::vector<cim::Instance> &instances);

} // namespace vendor
