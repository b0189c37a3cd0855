// A broker's fault rule said in a row:
// Rule(Operation::Associators).From("Sim_DiskDrive").Along("CIM_Realizes").Fails().
#pragma once

#include "cim/broker/faults/Faults.h"
#include "tests/support/Gate.h"

namespace support {

struct Rule : cim::FaultRule {
    Rule(cim::Operation operation) { operations = {operation}; }
    Rule(std::initializer_list<cim::Operation> some) { operations = some; }

    Rule &From(const std::string &name) { // the class of the path that is called with, or of the object
        className = name;
        return *this;
    }
    Rule &Along(const std::string &association, const std::string &result = {}) {
        associationClass = association;
        resultClass = result;
        return *this;
    }
    Rule &After(std::uint64_t letThrough) {
        skip = letThrough;
        return *this;
    }
    Rule &Times(std::uint64_t most) {
        count = most;
        return *this;
    }
    Rule &Does(Effect what) {
        effect = what;
        return *this;
    }
    Rule &Fails() { return Does(Effect::Fail); }
    Rule &Saying(const std::string &text) {
        message = text;
        return *this;
    }
    Rule &Takes(std::chrono::milliseconds time) {
        delay = time;
        return *this;
    }
    Rule &Passes(Gate &gate) {
        hook = [pass = gate.Passage()](const cim::Call &) { pass(); };
        return *this;
    }
};

} // namespace support
