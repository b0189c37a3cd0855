// The simulated vendor's library in the embedded broker, with a description that the test writes.
#pragma once

#include "cim/broker/Broker.h"
#include "tests/support/Values.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace vendor {

using Texts = std::vector<std::string>;

class Vendor : public testing::Test {
protected:
    Vendor();
    ~Vendor() override; // fails the test when a broker's object is left

    // Replaces the description in one step; the first one starts the broker.
    void Describe(const std::string &text);
    // A sample description of the project's.
    void DescribeSample(const std::string &name);
    const std::string &File() const { return file; }

    // Requests that are expected to succeed.
    std::vector<cim::Instance> Instances(const std::string &className, cim::PropertyList properties = nullptr);
    // The one instance of the class whose own key (DeviceID, InstanceID, Tag or Name) has that value.
    cim::Instance One(const std::string &className, const std::string &id);
    std::string Property(const std::string &className, const std::string &id, const std::string &property) {
        return support::Shown(One(className, id), property);
    }
    // What is associated with a path, as "Class id"; empty names: any. Checks that names and instances agree.
    Texts Associated(const cim::ObjectPath &source, const std::string &association = {},
                     const std::string &resultClass = {}, const std::string &role = {},
                     const std::string &resultRole = {});

    cim::BrokerConfig config;
    std::unique_ptr<cim::Broker> broker;

private:
    std::string folder;
    std::string file;
};

// "Class id"
std::string ShortName(const cim::ObjectPath &path);

} // namespace vendor
