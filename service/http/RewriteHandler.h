#pragma once

#include "engine/EngineChain.h"
#include "http/Callers.h"
#include "quota/Allowance.h"

#include <httplib.h>

namespace quillmarsh::service {

/// `POST /api/rewrite` after its body was read: who asks, what for, may they, and the answer with the quota.
class RewriteHandler final
{
public:
    RewriteHandler(const Callers& callers, Allowance& allowance, EngineChain& engines)
        : callers_(callers), allowance_(allowance), engines_(engines)
    {}

    /// Answers a request whose body is complete.
    void answer(const httplib::Request& request, std::string_view body, httplib::Response& response);
    /// Answers with a problem and, as far as it is known who asks, the quota.
    void refuse(const httplib::Request& request, const Problem& problem, httplib::Response& response);
    /// Answers when the caller is refused and returns false; the body need not be read then.
    [[nodiscard]] bool admit(const httplib::Request& request, httplib::Response& response) const;

private:
    void rewrite(const std::string& caller, const RewriteJob& job, httplib::Response& response);
    void answerRefusal(const std::string& caller, const EngineAnswer& refusal, httplib::Response& response);

    const Callers& callers_;
    Allowance& allowance_;
    EngineChain& engines_;
};

} // namespace quillmarsh::service
