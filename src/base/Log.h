#pragma once

#include <QLoggingCategory>

namespace quillmarsh {

/// The product's one log category, "com.quillmarsh.app". Lines go to stderr with the prefix "[Quillmarsh] ";
/// under a desktop session stderr is the journal. User text, keys, tokens and codes are never logged.
Q_DECLARE_LOGGING_CATEGORY(lcQuillmarsh)

/// Installs the message handler that gives every line its prefix. Call once, before anything logs.
void installLogging();

} // namespace quillmarsh
