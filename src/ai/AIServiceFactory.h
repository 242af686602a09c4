#pragma once

#include "ai/AIProvider.h"
#include "ai/AIServiceProtocol.h"
#include "ai/CloudAIService.h"

#include <memory>

namespace quillmarsh {

/// The only place that names concrete back ends; everything else holds the protocol.
namespace AIServiceFactory {

/// A new back end for one rewrite. `installationToken` serves the hosted back end only.
[[nodiscard]] std::unique_ptr<AIServiceProtocol> service(AIProvider provider, OpenAIAuthMode openaiAuthMode,
                                                         CloudAIService::TokenSource installationToken);

} // namespace AIServiceFactory

} // namespace quillmarsh
