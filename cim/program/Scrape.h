// Metrics over HTTP: what `quarnel metrics` prints, of the looks that the picture's observer makes.
#pragma once

#include "cim/picture/Picture.h"
#include "cim/wbem/Http.h"

#include <optional>

namespace cim {

// Answers GET and HEAD of /metrics; none for all else. Any number of threads may call it. `sample`: it is the sample
// hardware that is observed.
std::optional<wbem::HttpAnswer> AnswerScrape(picture::Picture &picture, bool sample, const wbem::HttpRequest &request);

} // namespace cim
