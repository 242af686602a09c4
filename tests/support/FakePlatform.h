#pragma once

#include "platform/ModifierFlags.h"
#include "platform/Platform.h"

#include <map>
#include <utility>

namespace quillmarsh::test {

/// Recording doubles of every platform interface. What they were asked is in public vectors, what they answer
/// is settable; none of them touches the desktop. Tests own them, product code sees the interface.

class FakeAccessibility final : public Accessibility
{
public:
    bool trusted = true;
    mutable int checks = 0;
    int requests = 0;
    int settingsOpened = 0;

    [[nodiscard]] bool isProcessTrusted() const override;
    void request() override { ++requests; }
    void openSettings() override { ++settingsOpened; }
};

/// What a FakeEventTap was told; it outlives the tap.
struct FakeTapRecord
{
    EventTap::Callback callback;
    std::vector<KeyCombination> interest;
    std::vector<KeyCombination> refused;
    std::vector<bool> enabledCalls;
    bool enabled = false;
    bool invalidated = false;
};

class FakeEventTap final : public EventTap
{
public:
    explicit FakeEventTap(std::shared_ptr<FakeTapRecord> record) : record_(std::move(record)) {}
    ~FakeEventTap() override { invalidate(); }

    void setInterest(std::vector<KeyCombination> combinations) override
    {
        record_->interest = std::move(combinations);
    }
    [[nodiscard]] std::vector<KeyCombination> refused() const override { return record_->refused; }
    void setEnabled(bool enabled) override;
    void invalidate() override;

private:
    std::shared_ptr<FakeTapRecord> record_;
};

class FakeEventTapSource final : public EventTapSource
{
public:
    bool refuses = false;                             ///< create() answers null
    std::vector<KeyCombination> refusedCombinations;  ///< given to every tap made from now on
    std::vector<std::shared_ptr<FakeTapRecord>> taps; ///< one per create(), in order

    [[nodiscard]] std::unique_ptr<EventTap> create(EventTap::Callback callback) override;
    /// Hands `event` to the newest tap exactly as it is. Pass when there is none, or it is off or invalid.
    TapVerdict deliver(const KeyEvent& event);
    /// A press as the desktop reports it: one that is not of the tap's interest never arrives.
    TapVerdict press(quint16 keyCode, quint64 modifiers, bool isAutorepeat = false);
};

class FakeKeyPoster final : public KeyPoster
{
public:
    std::vector<KeyCombination> posts;
    int announcements = 0; ///< calls of prepare()
    bool result = true;
    std::chrono::milliseconds delay{0};                ///< how long a post takes
    std::chrono::milliseconds hearing{0};              ///< and how long until one hears that it is done
    std::function<void(const KeyCombination&)> onPost; ///< what the application does with it

    void prepare() override { ++announcements; }
    Task<std::optional<std::chrono::steady_clock::time_point>> post(quint16 keyCode, quint64 flags) override;
};

class FakePasteboard final : public Pasteboard
{
public:
    qint64 count = 0;
    std::optional<QString> text;
    std::vector<QString> sets; ///< every text put by setString, kept or not
    bool ownable = true;       ///< false: another program keeps the clipboard
    bool isPastable = true;    ///< false: the application in front asks for nothing when it is told to paste
    std::chrono::milliseconds readDelay{0};
    int reads = 0;
    int persists = 0;
    std::function<void()> onSet;

    /// Another program copies: none stands for something without plain text.
    void copyFromElsewhere(std::optional<QString> newText);

    Task<qint64> changeCount() override;
    Task<std::optional<QString>> string() override;
    Task<bool> setString(QString newText) override;
    Task<bool> wasRead() override;
    Task<> persist() override;
};

class FakeWorkspace final : public Workspace
{
public:
    std::optional<RunningApplication> frontmost;
    std::vector<RunningApplication> activated;
    std::vector<QUrl> opened;
    std::vector<std::pair<QString, QStringList>> launched;
    std::vector<QString> revealed;
    bool result = true; ///< of open, openApplication and reveal

    /// Brings `application` to the front and tells it.
    void bringToFront(const RunningApplication& application);

    [[nodiscard]] std::optional<RunningApplication> frontmostApplication() const override
    {
        return frontmost;
    }
    void activate(const RunningApplication& application) override { activated.push_back(application); }
    Task<bool> open(QUrl url) override;
    Task<bool> openApplication(QString path, QStringList arguments) override;
    Task<bool> reveal(QString path) override;
};

class FakeKeyboardLayout final : public KeyboardLayout
{
public:
    std::map<quint16, QString> characters; ///< starts as the letters and digits of a US keyboard

    FakeKeyboardLayout();
    [[nodiscard]] std::optional<QString> character(quint16 keyCode) const override;
    /// The kernel's numbering, as X11 has it, for letters only: the scan code is what maps to the key code.
    std::map<quint32, quint16> keyCodes;
    [[nodiscard]] std::optional<quint16> keyCode(quint32 nativeScanCode) const override;
};

class FakePanelWindow final : public PanelWindow
{
public:
    std::vector<QWindow*> configured;
    std::vector<QWindow*> ordered;
    std::vector<QWindow*> leftOut; ///< of task bars
    QPoint mouse;

    void configure(QWindow& window) override { configured.push_back(&window); }
    void orderFrontRegardless(QWindow& window) override;
    void leaveOutOfTaskBars(QWindow& window) override { leftOut.push_back(&window); }
    [[nodiscard]] bool isCompositing() const override { return compositing_; }
    [[nodiscard]] QPoint mouseLocation() const override { return mouse; }
    [[nodiscard]] QRect visibleFrame(const QScreen& screen) const override;
    void setCompositing(bool compositing);

private:
    bool compositing_ = true;
};

class FakeDesktopAppearance final : public DesktopAppearance
{
public:
    [[nodiscard]] bool reduceMotion() const override { return reduceMotion_; }
    [[nodiscard]] bool reduceTransparency() const override { return reduceTransparency_; }
    [[nodiscard]] bool increaseContrast() const override { return increaseContrast_; }
    void setReduceMotion(bool on) { set(reduceMotion_, on); }
    void setReduceTransparency(bool on) { set(reduceTransparency_, on); }
    void setIncreaseContrast(bool on) { set(increaseContrast_, on); }

private:
    void set(bool& field, bool on);

    bool reduceMotion_ = false;
    bool reduceTransparency_ = false;
    bool increaseContrast_ = false;
};

class FakeInstanceGuard final : public InstanceGuard
{
public:
    InstanceClaim answer = InstanceClaim::First;
    std::vector<bool> claims; ///< the `waitForPredecessor` of each claim
    int releases = 0;

    Task<InstanceClaim> claim(bool waitForPredecessor) override;
    void release() override { ++releases; }
};

class FakeStatusItemHost final : public StatusItemHost
{
public:
    bool available = true;

    Task<bool> waitUntilAvailable() override { co_return available; }
};

class FakeBundle final : public Bundle
{
public:
    QString bundlePath = QStringLiteral("/Applications/Quillmarsh.app");
    QVariantMap info{{QStringLiteral("CFBundleShortVersionString"), QStringLiteral("1.0.0")}};
    bool packageManaged = false;

    [[nodiscard]] QString path() const override { return bundlePath; }
    [[nodiscard]] QVariantMap infoDictionary() const override { return info; }
    [[nodiscard]] bool isPackageManaged() const override { return packageManaged; }
};

class FakeProcessRunner final : public ProcessRunner
{
public:
    std::vector<std::pair<QString, QStringList>> runs;
    int result = 0;
    std::chrono::milliseconds duration{0};
    std::function<int(const QString& program, const QStringList& arguments)> onRun; ///< overrides `result`

    Task<int> run(QString program, QStringList arguments, std::stop_token stop) override;
};

/// The Keychain in memory. A status other than errSecSuccess in one of the `…Status` members is what the next
/// calls of that kind return, with nothing done.
class FakeSecItems final : public SecItems
{
public:
    using Key = std::pair<QString, QString>; ///< service, account

    std::map<Key, QByteArray> items;
    std::map<Key, SecAccessible> accessibility;    ///< as given to add()
    std::vector<std::pair<QByteArray, Key>> calls; ///< "copyMatching", "update", "add" or "remove"
    OSStatus copyStatus = errSecSuccess;
    OSStatus updateStatus = errSecSuccess;
    OSStatus addStatus = errSecSuccess;
    OSStatus removeStatus = errSecSuccess;

    Task<SecItemResult> copyMatching(SecItemQuery query) override;
    Task<OSStatus> update(SecItemQuery query, QByteArray data) override;
    Task<OSStatus> add(SecItemQuery query, QByteArray data, SecAccessible accessible) override;
    Task<OSStatus> remove(SecItemQuery query) override;
};

/// A whole Platform of fakes, with typed pointers to them that stay valid as long as the Platform's members.
struct FakePlatform
{
    FakeAccessibility* accessibility;
    FakeEventTapSource* eventTaps;
    FakeKeyPoster* keyPoster;
    FakePasteboard* pasteboard;
    FakeWorkspace* workspace;
    FakeKeyboardLayout* keyboardLayout;
    FakeSecItems* secItems;
    FakePanelWindow* panelWindow;
    FakeDesktopAppearance* appearance;
    FakeInstanceGuard* instanceGuard;
    FakeStatusItemHost* statusItemHost;
    FakeBundle* bundle;
    FakeProcessRunner* processRunner;
    Platform platform;

    FakePlatform();
};

} // namespace quillmarsh::test
