#include "http/RewriteHandler.h"

#include "base/Log.h"
#include "http/Answers.h"
#include "http/RewriteRequest.h"

namespace quillmarsh::service {

namespace {

const Problem storageProblem{503, "storage_unavailable",
                             "The rewrite service can’t count rewrites right now. Try again in a moment."};

void writeStorageProblem(const StorageError& error, httplib::Response& response)
{
    logWarning(std::string("storage: ") + error.what());
    response.set_header("Retry-After", "5");
    writeProblem(response, storageProblem);
}

} // namespace

bool RewriteHandler::admit(const httplib::Request& request, httplib::Response& response) const
{
    const auto caller = callers_.identify(request.get_header_value("Authorization"));
    if (const auto* problem = std::get_if<Problem>(&caller)) {
        const Quota none = Allowance::none();
        response.set_header("WWW-Authenticate", "Bearer");
        writeProblem(response, *problem, &none);
        return false;
    }
    return true;
}

void RewriteHandler::refuse(const httplib::Request& request, const Problem& problem,
                            httplib::Response& response)
{
    const auto caller = callers_.identify(request.get_header_value("Authorization"));
    try {
        const auto* known = std::get_if<std::string>(&caller);
        const Quota quota = known != nullptr ? allowance_.quota(*known) : Allowance::none();
        writeProblem(response, problem, &quota);
    } catch (const StorageError& error) {
        writeStorageProblem(error, response);
    }
}

void RewriteHandler::answer(const httplib::Request& request, std::string_view body,
                            httplib::Response& response)
{
    const auto caller = callers_.identify(request.get_header_value("Authorization"));
    const auto job = readRewriteRequest(body);
    if (const auto* problem = std::get_if<Problem>(&job)) {
        refuse(request, *problem, response);
        return;
    }
    try {
        rewrite(std::get<std::string>(caller), std::get<RewriteJob>(job), response);
    } catch (const StorageError& error) {
        writeStorageProblem(error, response);
    }
}

void RewriteHandler::rewrite(const std::string& caller, const RewriteJob& job, httplib::Response& response)
{
    auto ticket = allowance_.take(caller);
    if (!ticket) {
        const Quota quota = allowance_.quota(caller);
        response.set_header("Retry-After", std::to_string(quota.renewsIn.count()));
        writeProblem(response,
                     {429, "quota_exceeded",
                      "You’ve used " +
                          (quota.limit == 1 ? "your only rewrite"
                                            : "all " + std::to_string(quota.limit) + " rewrites") +
                          ". The allowance renews at " + quota.resetsAt + "."},
                     &quota);
        return;
    }
    const EngineAnswer answer = engines_.rewrite(job);
    if (answer.verdict != EngineAnswer::Verdict::Done) {
        ticket.reset(); // before the quota is read for the answer
        answerRefusal(caller, answer, response);
        return;
    }
    const Quota quota = allowance_.quota(caller); // while the ticket still takes the count back if this fails
    ticket->keep();
    writeText(response, answer.text, quota);
}

void RewriteHandler::answerRefusal(const std::string& caller, const EngineAnswer& refusal,
                                   httplib::Response& response)
{
    const Quota quota = allowance_.quota(caller);
    if (refusal.retryAfter.count() > 0) {
        response.set_header("Retry-After", std::to_string(refusal.retryAfter.count()));
    }
    const bool cannot = refusal.verdict == EngineAnswer::Verdict::CannotDo;
    writeProblem(response, {cannot ? 422 : 503, refusal.code, refusal.message}, &quota);
}

} // namespace quillmarsh::service
