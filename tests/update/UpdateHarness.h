#pragma once

#include "update/BundleFixture.h"
#include "update/TlsTestServer.h"

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace quillmarsh::test {

/// A home with version 1.0 installed in its Applications folder, settings, a temporary folder of its own, and
/// an update server. Programs run in it as an ordinary user, also when the test runs as root.
class UpdateHarness final
{
public:
    UpdateHarness();
    ~UpdateHarness();

    [[nodiscard]] TlsTestServer& server() { return server_; }
    [[nodiscard]] QString path(const char* name) const { return root_.filePath(QString::fromUtf8(name)); }
    [[nodiscard]] QString applications() const { return path("home/Applications"); }
    [[nodiscard]] QString installed() const { return path("home/Applications/Quillmarsh.app"); }
    [[nodiscard]] QString temporaryFolder() const { return temporary_; }
    /// Puts the working folders elsewhere.
    void setTemporaryFolder(const QString& folder);
    /// Runs the stand-in under this program and its arguments.
    void setPrefix(const QStringList& prefix) { prefix_ = prefix; }
    void setVariable(const char* name, const QString& value)
    {
        environment_.insert(QLatin1String(name), value);
    }

    /// A signed bundle at `path`, with the stand-in in it.
    void makeRelease(const QString& path, const QString& version,
                     const QString& signer = QStringLiteral("developer"),
                     const QString& identifier = QStringLiteral("com.quillmarsh.app"), int payload = 1000);
    /// The archive of a release, and a manifest that names it.
    [[nodiscard]] QByteArray archiveOf(const QString& version,
                                       const QString& signer = QStringLiteral("developer"));
    void publish(const QByteArray& archive, const QString& version = QStringLiteral("1.1"));
    [[nodiscard]] QByteArray manifest(const QString& version, const QString& url) const;
    [[nodiscard]] QString archiveAddress() const;

    /// Starts the bundle and waits for its end; what it reported, without the closing line. The server lives
    /// in this process and answers meanwhile.
    QStringList run(const QString& bundle, const char* mode = "update");
    void start(QProcess& process, const QString& bundle, const char* mode);
    [[nodiscard]] QStringList report() const;
    /// Waits for a line of a program that was just started, which takes a busy machine its time.
    [[nodiscard]] bool awaitReport(const QString& line) const;
    /// What starts from the installed place, and with which setting: "started 1.0 yes".
    [[nodiscard]] QString whatStarts();

    /// Everything that an installation may leave behind but must not, and what else is wrong.
    [[nodiscard]] QStringList leftovers() const;
    [[nodiscard]] bool settingsAreUntouched() const;
    /// Gives everything to the user that programs run as.
    void giveToUser() const;

private:
    QTemporaryDir root_;
    QString temporary_;
    TlsTestServer server_;
    QStringList prefix_;
    QProcessEnvironment environment_;
};

/// Runs a program to its end; the exit status.
int runTool(const QString& program, const QStringList& arguments);

} // namespace quillmarsh::test
