#pragma once

#include <QList>
#include <QString>
#include <QStringView>

/// A plain text as the reader shows it: quotation marks counted and taken off, soft line breaks undone.

struct TextLine
{
    QString text; ///< one line, fit for a text document: no control characters, no document marks
    int quote = 0;
    bool signature = false;
    bool continued = false; ///< the next line is the rest of this one, which was too long to be laid out
};

struct PlainTextOptions
{
    bool flowed = false; ///< RFC 3676
    bool delsp = false;
    bool armour = false; ///< there may be a PGP armour to take off (RFC 4880, 6.2 and 7)
};

struct PlainText
{
    QList<TextLine> lines; ///< empty lines at the end are left out
    bool isSigned = false; ///< an armour was taken off: nobody has checked what it says
    bool isEncrypted = false;
};

/// Linear in the text, whatever its lines are like.
PlainText readPlainText(QStringView text, const PlainTextOptions &options = {});

/// The beginning of @p text, at most @p most UTF-16 units, cut at a line end where there is one.
QStringView firstLook(QStringView text, qsizetype most);

/// A run of quoted lines that is folded to one.
struct QuoteFold
{
    int first = 0; ///< in the list of lines
    int count = 0;
    int shown = 0; ///< lines that a window of ordinary width would show

    bool operator==(const QuoteFold &) const = default;
};

constexpr int kLongestOpenQuote = 12;

/// The runs of more than kLongestOpenQuote quoted lines; none when the text is nothing but quotation.
QList<QuoteFold> foldsOf(const QList<TextLine> &lines);

/// A piece of a line that its writer put between marks: *bold*, /italic/ or _underline_, marks included.
struct Emphasis
{
    enum Kind { Bold, Italic, Underline };

    qsizetype start = 0;
    qsizetype length = 0;
    Kind kind = Bold;

    bool operator==(const Emphasis &) const = default;
};

QList<Emphasis> findEmphasis(QStringView line);
