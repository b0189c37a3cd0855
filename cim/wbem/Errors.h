// The two ways in which a request fails: refused as an HTTP request, or answered with a CIM error.
#pragma once

#include <cmpidt.h>

#include <stdexcept>
#include <string>

namespace cim::wbem {

// HTTP statuses that this server uses.
enum HttpStatus : unsigned {
    kOk = 200,
    kBadRequest = 400,
    kMethodNotAllowed = 405,
    kNotAcceptable = 406,
    kPayloadTooLarge = 413,
    kUnsupportedMediaType = 415,
    kInternalError = 500,
    kNotImplemented = 501,
    kUnavailable = 503,
    kNotExtended = 510,
};

// No CIM request at all: an HTTP status, DSP0200's word for the CIMError header, and a sentence for people.
struct Refusal : std::runtime_error {
    Refusal(HttpStatus httpStatus, const char *error, const std::string &reason)
        : std::runtime_error(reason), status(httpStatus), cimError(error) {}
    HttpStatus status;
    const char *cimError; // null: none
};

inline Refusal NotWellFormed(const std::string &reason) { return {kBadRequest, "request-not-well-formed", reason}; }
inline Refusal NotValid(const std::string &reason) { return {kBadRequest, "request-not-valid", reason}; }
inline Refusal HeaderMismatch(const std::string &reason) { return {kBadRequest, "header-mismatch", reason}; }

// What a status code of DSP0200's means; null for any other number.
const char *MeaningOf(int cimCode);

// A CIM request that fails: HTTP 200 with an ERROR element.
struct Fault : std::runtime_error {
    // An empty reason stands for the code's own description.
    Fault(int cimCode, const std::string &reason);
    int code; // always one of CIM's
};

inline Fault InvalidParameter(const std::string &reason) { return {CMPI_RC_ERR_INVALID_PARAMETER, reason}; }

} // namespace cim::wbem
