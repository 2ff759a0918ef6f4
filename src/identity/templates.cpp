#include "identity/templates.h"

#include "config/clock.h"
#include "identity/bodytext.h"
#include "identity/oneline.h"
#include "message/useragent.h"

#include <QCoreApplication>
#include <QLocale>
#include <QSysInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// One variable: what people are told of it, and its value for an argument.
struct Variable
{
    TemplateVariable shown;
    QString (*value)(const TemplateValues &values, const QString &argument);
};

bool is(const QString &argument, QLatin1StringView word)
{
    return argument.compare(word, Qt::CaseInsensitive) == 0;
}

QString fieldValue(const Message &message, QByteArrayView field)
{
    return oneLineOf(message.header(field));
}

QString addressValue(const Message &message, QByteArrayView field, const QString &argument)
{
    if (is(argument, "name"_L1))
        return oneLineOf(message.addresses(field).value(0).name);
    if (is(argument, "address"_L1))
        return oneLineOf(message.addresses(field).value(0).address);
    return fieldValue(message, field);
}

QString replyToValue(const Message &message, const QString &argument)
{
    const bool hasReplyTo = !fieldValue(message, "Reply-To").isEmpty();
    return addressValue(message, hasReplyTo ? "Reply-To" : "From", argument);
}

QString followupValue(const Message &message)
{
    const QString value = fieldValue(message, "Followup-To");
    return value.isEmpty() ? fieldValue(message, "Newsgroups") : value;
}

QString identityValue(const Identity &identity, const QString &argument)
{
    if (is(argument, "name"_L1))
        return oneLineOf(identity.name);
    return oneLineOf(is(argument, "address"_L1) ? identity.address : identity.display());
}

QString bodyValue(const TemplateValues &values, const QString &argument)
{
    if (!is(argument, "quoted"_L1))
        return bodyText(values.message);
    return values.quotedBody ? values.quotedBody() : QString();
}

/// Names of days and months are in the user's language, as the rest of what is written.
QString formatted(const QDateTime &time, const QString &format)
{
    return QLocale().toString(time, format);
}

QString dateValue(const Message &message, const QString &format)
{
    if (format.isEmpty())
        return fieldValue(message, "Date");
    const std::optional<qint64> seconds = message.readableDate();
    return seconds ? formatted(QDateTime::fromSecsSinceEpoch(*seconds), format) : QString();
}

QString nowValue(const QString &format)
{
    return format.isEmpty() ? clockNow().toString() : formatted(clockNow(), format);
}

/// In the order for people: the message, its people, the writer, time, the program.
const Variable kVariables[] = {
    {{"subject", "", QT_TRANSLATE_NOOP("Templates", "Subject of the message")},
     [](const TemplateValues &values, const QString &) { return oneLineOf(values.message.subject()); }},
    {{"body", "quoted",
      QT_TRANSLATE_NOOP("Templates", "Text of the message, or the text quoted for a reply")},
     &bodyValue},
    {{"date", "FORMAT", QT_TRANSLATE_NOOP("Templates", "Date of the message, as it stands or in a format")},
     [](const TemplateValues &values, const QString &argument) {
         return dateValue(values.message, argument);
     }},
    {{"from", "name address", QT_TRANSLATE_NOOP("Templates", "Who wrote the message")},
     [](const TemplateValues &values, const QString &argument) {
         return addressValue(values.message, "From", argument);
     }},
    {{"sender", "name address", QT_TRANSLATE_NOOP("Templates", "Who sent it for the writer")},
     [](const TemplateValues &values, const QString &argument) {
         return addressValue(values.message, "Sender", argument);
     }},
    {{"replyto", "name address", QT_TRANSLATE_NOOP("Templates", "Where replies go, else who wrote it")},
     [](const TemplateValues &values, const QString &argument) {
         return replyToValue(values.message, argument);
     }},
    {{"to", "name address", QT_TRANSLATE_NOOP("Templates", "To whom it was written")},
     [](const TemplateValues &values, const QString &argument) {
         return addressValue(values.message, "To", argument);
     }},
    {{"cc", "name address", QT_TRANSLATE_NOOP("Templates", "Who got a copy")},
     [](const TemplateValues &values, const QString &argument) {
         return addressValue(values.message, "Cc", argument);
     }},
    {{"newsgroups", "", QT_TRANSLATE_NOOP("Templates", "Newsgroups that it was posted to")},
     [](const TemplateValues &values, const QString &) { return oneLineOf(values.message.newsgroups()); }},
    {{"followupto", "", QT_TRANSLATE_NOOP("Templates", "Newsgroups where follow-ups go")},
     [](const TemplateValues &values, const QString &) { return followupValue(values.message); }},
    {{"organization", "", QT_TRANSLATE_NOOP("Templates", "Organisation of the writer")},
     [](const TemplateValues &values, const QString &) { return oneLineOf(values.message.organization()); }},
    {{"messageid", "", QT_TRANSLATE_NOOP("Templates", "Identifier of the message")},
     [](const TemplateValues &values, const QString &) {
         return oneLineOf(QString::fromUtf8(values.message.messageId()));
     }},
    {{"header", "FIELD", QT_TRANSLATE_NOOP("Templates", "Any field of the message's header")},
     [](const TemplateValues &values, const QString &argument) {
         return argument.trimmed().isEmpty() ? QString()
                                             : fieldValue(values.message, argument.trimmed().toUtf8());
     }},
    {{"identity", "name address", QT_TRANSLATE_NOOP("Templates", "You, as the identity in use")},
     [](const TemplateValues &values, const QString &argument) {
         return identityValue(values.identity, argument);
     }},
    {{"now", "FORMAT", QT_TRANSLATE_NOOP("Templates", "The date and time now")},
     [](const TemplateValues &, const QString &argument) { return nowValue(argument); }},
    {{"velmarversion", "", QT_TRANSLATE_NOOP("Templates", "Version of this program")},
     [](const TemplateValues &, const QString &) { return QString::fromLatin1(versionText()); }},
    {{"qtversion", "", QT_TRANSLATE_NOOP("Templates", "Version of the toolkit")},
     [](const TemplateValues &, const QString &) { return QString::fromLatin1(qVersion()); }},
    {{"platform", "", QT_TRANSLATE_NOOP("Templates", "Name of the operating system")},
     [](const TemplateValues &, const QString &) { return oneLineOf(QSysInfo::prettyProductName()); }},
};

/// What stands in the place of the variable that is written as @p written.
QString replacement(QStringView written, QStringView name, QStringView argument, const TemplateValues &values)
{
    const auto known = std::find_if(std::begin(kVariables), std::end(kVariables), [&](const Variable &one) {
        return name.compare(QLatin1StringView(one.shown.name), Qt::CaseInsensitive) == 0;
    });
    return known == std::end(kVariables) ? written.toString() : known->value(values, argument.toString());
}

/// The end of the ASCII letters from @p position on.
qsizetype endOfName(QStringView text, qsizetype position)
{
    const auto isLetter = [](QChar c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); };
    while (position < text.size() && isLetter(text[position]))
        ++position;
    return position;
}

/// Variables are "%([A-Za-z]+)(?:\[([^\]]*)\])?". By hand, because many brackets that nobody closes would
/// each be looked after to the end of the line.
QString expandPiece(QStringView piece, const TemplateValues &values)
{
    const qsizetype lastBracket = piece.lastIndexOf(u']');
    QString out;
    qsizetype taken = 0;
    for (qsizetype sign = piece.indexOf(u'%'); sign >= 0; sign = piece.indexOf(u'%', taken)) {
        out += piece.sliced(taken, sign - taken);
        const qsizetype nameEnd = endOfName(piece, sign + 1);
        const bool hasArgument = nameEnd > sign + 1 && nameEnd < lastBracket && piece[nameEnd] == u'[';
        const qsizetype bracket = hasArgument ? piece.indexOf(u']', nameEnd) : nameEnd;
        taken = hasArgument ? bracket + 1 : nameEnd;
        const QStringView argument =
            hasArgument ? piece.sliced(nameEnd + 1, bracket - nameEnd - 1) : QStringView();
        out += replacement(piece.sliced(sign, taken - sign), piece.sliced(sign + 1, nameEnd - sign - 1),
                           argument, values);
    }
    return out + piece.sliced(taken).toString();
}

} // namespace

QString expandTemplate(const QString &text, const TemplateValues &values)
{
    QString out;
    const QStringList lines = text.split(u'\n');
    for (const QString &line : lines) {
        QStringList pieces = line.split(u"%%"_s);
        for (QString &piece : pieces)
            piece = expandPiece(piece, values);
        out += pieces.join(u'%') + u'\n';
    }
    return out;
}

const std::vector<TemplateVariable> &templateVariables()
{
    static const std::vector<TemplateVariable> all = [] {
        std::vector<TemplateVariable> shown;
        for (const Variable &variable : kVariables)
            shown.push_back(variable.shown);
        return shown;
    }();
    return all;
}
