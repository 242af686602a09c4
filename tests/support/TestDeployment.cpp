#include "base/Deployment.h"

namespace quillmarsh {

namespace {

/// A test names the address of its own loopback server in the environment before it first asks.
QString value(const char* variable, const char* fallback)
{
    return qEnvironmentVariable(variable, QString::fromLatin1(fallback));
}

} // namespace

Deployment builtInDeployment()
{
    Deployment deployment;
    deployment.webOrigin = QStringLiteral("https://127.0.0.1:9");
    deployment.updateHost = value("QUILLMARSH_TEST_UPDATE_HOST", "127.0.0.1:9");
    deployment.gitHubHost = QStringLiteral("github.com");
    deployment.cloudOrigin = value("QUILLMARSH_TEST_CLOUD_ORIGIN", "http://127.0.0.1:9");
    deployment.openAIApiBase = value("QUILLMARSH_TEST_OPENAI_API_BASE", "http://127.0.0.1:9/v1");
    deployment.anthropicApiBase = value("QUILLMARSH_TEST_ANTHROPIC_API_BASE", "http://127.0.0.1:9");
    deployment.authOrigin = value("QUILLMARSH_TEST_AUTH_ORIGIN", "http://127.0.0.1:9");
    deployment.chatGPTOrigin = QStringLiteral("https://chatgpt.com");
    deployment.openAIKeysOrigin = QStringLiteral("https://platform.openai.com");
    deployment.anthropicConsoleOrigin = QStringLiteral("https://console.anthropic.com");
    deployment.codesignAnchor = qgetenv("QUILLMARSH_TEST_CODESIGN_ANCHOR");
    return deployment;
}

} // namespace quillmarsh
