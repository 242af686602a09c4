#pragma once

#include "update/codesign/CmsSignature.h"

#include <QString>
#include <QStringList>

#include <cstdio>

namespace quillmarsh {

/// Writes the list of the bundle's files and its signature into the bundle. Throws CodesignError, also when
/// the bundle holds what a signed one may not.
void signBundle(const QString& bundle, const QByteArray& certificates, const QByteArray& key);

/// Throws CodesignError unless the bundle holds exactly the files that its list names, each with its SHA-256
/// and mode, and the list is signed as `requirement` demands.
void verifyBundle(const QString& bundle, const SignatureRequirement& requirement);

/// The organisational unit that a requirement names. The one form that is understood is
/// `anchor apple generic and certificate leaf[subject.OU] = "UNIT"`; its anchor is the one of this build.
/// Throws CodesignError for any other.
[[nodiscard]] QString requiredUnit(const QString& requirement);

/// The tool: `--verify --deep --strict -R=REQUIREMENT BUNDLE` or `--sign --certificate FILE --key FILE
/// BUNDLE`. The exit status: 0 when that is so or was done; 1, with a line on `errors`, when not; 2 when the
/// arguments are not understood.
[[nodiscard]] int runCodesign(const QStringList& arguments, const QByteArray& anchor, std::FILE* errors);

} // namespace quillmarsh
