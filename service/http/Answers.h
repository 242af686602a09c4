#pragma once

#include <httplib.h>

#include "http/Problem.h"
#include "quota/Allowance.h"

namespace quillmarsh::service {

/// 200 with {"text", "quota"}.
void writeText(httplib::Response& response, const std::string& text, const Quota& quota);
/// The problem's status with {"error", "code"} and, if given, "quota".
void writeProblem(httplib::Response& response, const Problem& problem, const Quota* quota = nullptr);

} // namespace quillmarsh::service
