// The picture over HTTP: the page at "/", its files below "/picture/", and "/api/inventory", which it is drawn from.
#pragma once

#include "cim/picture/Observer.h"
#include "cim/wbem/Http.h"

#include <optional>
#include <string>

namespace cim::picture {

class Picture {
public:
    // `sample`: what is read is the sample hardware, and the picture says so.
    explicit Picture(Observer::Read read, bool sample = false, const Pace &pace = {});

    // Answers GET and HEAD. None for other methods: these are somebody else's. Any number of threads may call it.
    std::optional<wbem::HttpAnswer> Answer(const wbem::HttpRequest &request);

    // What the picture is drawn from, for others that show it, too.
    void Observe(const std::function<void(const Observation &)> &show) { observer.Observe(show); }

    // The hardware file cannot be read, and why; the page says so. Empty: it can be read again.
    void Reject(const std::string &file, const std::string &reason) { observer.Reject(file, reason); }

private:
    wbem::HttpAnswer AnswerInventory(const wbem::HttpRequest &request);

    const std::string life; // tells this server's versions from those of an earlier one
    const bool sample;
    Observer observer;
};

} // namespace cim::picture
