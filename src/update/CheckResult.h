#pragma once

#include "update/UpdateRelease.h"

#include <variant>

namespace quillmarsh {

/// How a look for a newer version ended.
struct CheckResult
{
    struct UpToDate
    {
        bool operator==(const UpToDate&) const = default;
    };
    struct Error
    {
        QString text;
        bool operator==(const Error&) const = default;
    };

    std::variant<UpToDate, UpdateRelease, Error> value;

    bool operator==(const CheckResult&) const = default;
};

} // namespace quillmarsh
