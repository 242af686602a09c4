// What the thread sanitizer has to be told about Qt, whose library is not built with it: who waits for whom.
// Without it every event that goes from one thread to another looks like a race. The definitions here take
// the place of Qt's own in the executable and call those.

#include <QDeadlineTimer>
#include <QMetaObject>
#include <QThread>
#include <QThreadPool>

#include <cstdarg>
#include <functional>
#include <memory>

#include <dlfcn.h>
#include <sched.h>

extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
int __clone(int (*run)(void*), void* stack, int flags, void* argument, ...);

/// What libraries without the sanitizer do inside a call of the C library is not looked at.
const char* __tsan_default_options();
}

namespace {

using Slot = QtPrivate::QSlotObjectBase;

/// A slot that runs, and is destroyed, after what its sender did.
class OrderedSlot final : public Slot
{
public:
    explicit OrderedSlot(Slot* slot) : Slot(&handle), slot_(slot) { __tsan_release(this); }

private:
    static void handle(int which, Slot* self, QObject* receiver, void** arguments, bool*)
    {
        auto* const ordered = static_cast<OrderedSlot*>(self);
        __tsan_acquire(ordered);
        if (which == Call) {
            ordered->slot_->call(receiver, arguments);
            __tsan_release(ordered);
        } else if (which == Destroy) {
            ordered->slot_->destroyIfLastRef();
            delete ordered;
        }
    }

    Slot* slot_;
};

template <typename Function>
Function* qtsOwn(const char* symbol)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, symbol));
}

} // namespace

const char* __tsan_default_options()
{
    return "ignore_noninstrumented_modules=1";
}

bool QMetaObject::invokeMethodImpl(QObject* object, Slot* slot, Qt::ConnectionType type, void* result)
{
    static auto* const own = qtsOwn<bool(QObject*, Slot*, Qt::ConnectionType, void*)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    return own(object, new OrderedSlot(slot), type, result);
}

void QThreadPool::start(std::function<void()> work, int priority)
{
    static auto* const own =
        qtsOwn<void(QThreadPool*, std::function<void()>, int)>("_ZN11QThreadPool5startESt8functionIFvvEEi");
    const auto sent = std::make_shared<char>();
    __tsan_release(sent.get());
    const auto ordered = [sent, work = std::move(work)] {
        __tsan_acquire(sent.get());
        work();
    };
    own(this, ordered, priority);
}

void QThread::run()
{
    exec();
    __tsan_release(this);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static auto* const own = qtsOwn<bool(QThread*, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = own(this, deadline);
    __tsan_acquire(this);
    return ended;
}

/// A child of QProcess shares our memory until it runs its program; the sanitizer's own clone() would have it
/// switch off the watching of the thread that started it.
extern "C" int clone(int (*run)(void*), void* stack, int flags, void* argument, ...) noexcept
{
    va_list rest;
    va_start(rest, argument);
    void* const parent = va_arg(rest, void*);
    void* const storage = va_arg(rest, void*);
    void* const child = va_arg(rest, void*);
    va_end(rest);
    return ::__clone(run, stack, flags, argument, parent, storage, child);
}
