#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

/// The lines that vCards (RFC 6350, RFC 2426, version 2.1) and calendars (RFC 5545) are made of: a name,
/// named parameters, a value. Whatever stands there is read as far as it goes; time is linear in the text.

/// One line, unfolded.
struct ContentLine
{
    struct Parameter
    {
        QByteArray name;    ///< upper case; "TYPE" for the bare words of version 2.1
        QStringList values; ///< split at commas outside quotes, "^" escapes undone (RFC 6868)
    };

    QByteArray name;  ///< upper case
    QByteArray group; ///< what stands before a dot in front of the name: "item1"
    QList<Parameter> parameters;
    QString value; ///< decoded from quoted-printable, its backslashes still in it; base64 stays as it is

    /// The first value of a parameter; empty without one. @p parameter in upper case.
    QString parameter(QByteArrayView parameter) const;
    /// Whether one of its values is @p value, in any case.
    bool has(QByteArrayView parameter, QStringView value) const;

    /// The value as a text, its escapes undone.
    QString text() const;
    /// The parts of a value of several, such as a name or an address: split at @p separator, escapes undone.
    QStringList texts(QChar separator = u';') const;
};

/// What stands between BEGIN:NAME and END:NAME.
struct ContentComponent
{
    QByteArray name; ///< upper case; empty for what holds the outermost ones
    QList<ContentLine> lines;
    QList<ContentComponent> components;

    /// The first line called @p name (upper case); null when there is none.
    const ContentLine *line(QByteArrayView name) const;
    QList<const ContentLine *> linesNamed(QByteArrayView name) const;
    /// The text of the first line called so; empty without one.
    QString text(QByteArrayView name) const;
};

/// Limits that honest files keep; what lies beyond is left out.
namespace contentlimit {
constexpr int kLines = 50'000;
constexpr int kComponents = 5'000;
constexpr int kDepth = 8;
constexpr qsizetype kLineLength = 4 * 1024 * 1024; ///< UTF-16 units, a picture's base64 included
} // namespace contentlimit

/// The lines of @p text, whatever its line ends.
QList<ContentLine> readContentLines(QStringView text);

/// The components of @p text, one in the other. A component without its end ends with the text or with the
/// one that holds it.
ContentComponent readContentComponents(QStringView text);

/// @p value without its backslashes: "\n" a line end, any other escaped character itself.
QString unescapedContent(QStringView value);
