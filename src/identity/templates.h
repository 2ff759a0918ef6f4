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

/// @p text with its variables replaced; line by line, a value is never expanded again, "%%" is "%".
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

/// @name The template files in the folder "Templates"
/// @{
QStringList templateNames();                              ///< as the menu shows them, sorted
std::optional<QString> readTemplate(const QString &name); ///< empty after a report
bool writeTemplate(const QString &name, const QString &text);
bool removeTemplate(const QString &name);
/// @}
