#pragma once

#include <QString>
#include <QStringList>

#include <optional>

struct Signature
{
    enum class Kind { Plain, Html, Command };

    QString name; ///< as shown; unique within its identity
    Kind kind = Kind::Plain;
    QString text; ///< without a separator and a last line end; of a command, the command line
};

/// @name The signatures of one identity, a file each in "Identities/<number>/Signatures"
/// Failures report "Unable to open signature file" or "Unable to write signature file". Any name is safe; one
/// that is empty or over about 200 bytes is refused.
/// @{
QStringList signatureNames(int identity); ///< sorted as people sort
std::optional<Signature> readSignature(int identity, const QString &name);
bool writeSignature(int identity, const Signature &signature);
bool renameSignature(int identity, const QString &from, const QString &to);
bool removeSignature(int identity, const QString &name);
/// @}

/// @name The taglines of one identity, "Identities/<number>/Taglines"; each may have several lines. Failures
/// report "Unable to open tagline file" or "Unable to write tagline file".
/// @{
QStringList readTaglines(int identity);
bool writeTaglines(int identity, const QStringList &taglines);
QString nextTagline(int identity); ///< one of them by chance, not the one before; empty without any
/// @}
