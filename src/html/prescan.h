#pragma once

#include <QByteArray>
#include <QString>

/// What the scan before the HTML parser leaves. The parser is exact but quadratic in nested and in misnested
/// elements; behind this scan it sees tags of known elements only, each with known attributes in double
/// quotes, closed where they end, at most 100 deep. No text of the message is lost by that, except that of
/// scripts and of what stands behind the cap.
struct Prescan
{
    QByteArray html; ///< UTF-8, begins with the document type
    QByteArray css;  ///< the contents of all style elements, UTF-8
    bool truncated = false;
    int remote = 0; ///< addresses on the net in tags and styles, but for links and the sources of pictures
};

/// How deep elements may nest in what prescan() leaves.
constexpr int kDeepestElement = 100;

/// Scans @p text in one pass. @p cap limits the bytes of what is left, pictures that stand in the text itself
/// (data: addresses) not counted; at the cap the text ends between two tags or two words.
Prescan prescan(const QString &text, qsizetype cap);
