#pragma once

#include "identity/identity.h"
#include "message/message.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <vector>

/// What the variables of a template take their values from.
struct TemplateValues
{
    Message message;   ///< the one being answered or forwarded; empty for a new one
    Identity identity; ///< in use
    std::function<QString()>
        quotedBody; ///< of "%body[quoted]", its leading text included; asked only when needed
};

/// @p text with its variables replaced; a value is never expanded again, "%%" is "%". Every line ends in
/// "\n", the last one too. A variable is "%name" or "%name[argument]", in any case; an argument that means
/// nothing to it is as good as none, and what is no variable stays as written. Each value but that of "body"
/// is one line without control characters, whatever the message holds.
QString expandTemplate(const QString &text, const TemplateValues &values);

/// The variables there are, for the editor's list, in the order for people.
struct TemplateVariable
{
    const char *name;
    const char
        *arguments; ///< those with a meaning, separated by blanks; "FORMAT" and "FIELD" stand for any text
    const char *meaning; ///< for people, in English, marked with QT_TRANSLATE_NOOP("Templates", ...)
};
const std::vector<TemplateVariable> &templateVariables();

/// @name The template files in the folder "Templates"; a failure reports "Unable to read file '%s'" or
/// "Unable to write file '%s'". Any name is safe; one that is empty or over about 200 bytes is refused.
/// @{
QStringList templateNames(); ///< as the menu shows them, sorted
bool hasTemplate(const QString &name);
std::optional<QString> readTemplate(const QString &name); ///< empty after a report
bool writeTemplate(const QString &name, const QString &text);
bool renameTemplate(const QString &from, const QString &to);
bool removeTemplate(const QString &name);

/// The text in the @p bytes of any template file, without the line end of its last line.
QString templateText(const QByteArray &bytes);
/// @}
