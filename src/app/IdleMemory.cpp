#include "app/IdleMemory.h"

namespace quillmarsh {

IdleMemory::IdleMemory(IdleMemoryOptions options, QObject* parent)
    : QObject(parent), options_(std::move(options))
{
    pause_.setSingleShot(true);
    pause_.setInterval(options_.pause);
    connect(&pause_, &QTimer::timeout, this, &IdleMemory::giveBack);
}

// What is in use tells by itself when it ends; there is nothing to try again.
void IdleMemory::giveBack()
{
    if (options_.isInUse())
        return;
    pause_.stop();
    options_.giveBack();
}

void IdleMemory::giveBackLater()
{
    pause_.start();
}

} // namespace quillmarsh
