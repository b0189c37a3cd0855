#include "cim/wbem/Errors.h"

namespace cim::wbem {

namespace {

// DSP0200's CIM status codes, from 1 on.
constexpr const char *kDescriptions[] = {
    "A general error occurred",        "Access to the resource is not available to the client",
    "The namespace does not exist",    "A parameter value is invalid",
    "The class does not exist",        "The object was not found",
    "The operation is not supported",  "The class has subclasses",
    "The class has instances",         "The superclass does not exist",
    "The object exists already",       "The property does not exist",
    "The value does not fit the type", "The query language is not supported",
    "The query is not valid",          "The method cannot be executed",
    "The method does not exist",
};
constexpr int kLastCode = static_cast<int>(std::size(kDescriptions));

// What a provider answers beyond CIM's own codes is a failure to a client.
int CimCode(int code) { return code >= CMPI_RC_ERR_FAILED && code <= kLastCode ? code : CMPI_RC_ERR_FAILED; }

} // namespace

const char *MeaningOf(int cimCode) {
    return cimCode >= CMPI_RC_ERR_FAILED && cimCode <= kLastCode ? kDescriptions[cimCode - 1] : nullptr;
}

Fault::Fault(int cimCode, const std::string &reason)
    : std::runtime_error(reason.empty() ? MeaningOf(CimCode(cimCode)) : reason), code(CimCode(cimCode)) {}

} // namespace cim::wbem
