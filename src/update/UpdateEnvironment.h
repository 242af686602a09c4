#pragma once

#include "base/Deployment.h"

#include <QString>

#include <functional>

namespace quillmarsh {

class Bundle;
class ProcessRunner;
class Workspace;

/// What the updater is given from outside: whom it trusts, where it works, and the tools that it runs. The
/// platform objects outlive the service.
struct UpdateEnvironment
{
    Deployment deployment;
    Bundle* bundle = nullptr;
    ProcessRunner* processRunner = nullptr;
    Workspace* workspace = nullptr;
    QString systemApplications = QStringLiteral("/Applications");
    QString homeFolder;      ///< its "Applications" is the other installed place
    QString temporaryFolder; ///< the user's; working folders are made in it
    QString unpackTool = QStringLiteral("/usr/bin/bsdtar");
    QString signatureTool;           ///< the installed verifier, never a downloaded one
    std::function<void()> terminate; ///< ends this application in order

    /// The user's own Applications folder.
    [[nodiscard]] QString userApplications() const;
    /// The running bundle's path. Below an Applications folder it is told by that folder's name, also where
    /// the way there leads through links: the system knows a process by the place that they lead to.
    [[nodiscard]] QString bundlePath() const;

    /// This process's own folders, and the verifier beside its executable.
    [[nodiscard]] static UpdateEnvironment standard(Bundle& bundle, ProcessRunner& processRunner,
                                                    Workspace& workspace);
};

/// "CFBundleShortVersionString" of the bundle when it is text, otherwise "1.0".
[[nodiscard]] QString currentVersion(const Bundle& bundle);

/// Handed to a relaunched or moved copy: it waits for this process to leave and takes over from it.
inline constexpr auto relaunchArgument = "--relaunch";

} // namespace quillmarsh
