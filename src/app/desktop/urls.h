#pragma once

#include <QString>
#include <QStringList>

/// URLs that other programs and the command line ask the program to open, taken apart. They come from web
/// pages and mails: whatever they hold, nothing here reads a file or trusts a name.

enum class UrlKind {
    None,    ///< empty
    File,    ///< a message file on this machine
    Mail,    ///< mailto: a new message (RFC 6068)
    Velmar,  ///< velmar: a place in this program
    News,    ///< news: a group or an article (RFC 5538)
    Nntp,    ///< nntp: a group or an article on a named server (RFC 5538)
    Unknown, ///< anything else
};

/// The fields of a new message that a link may fill in. Header fields are on one line; the body's line ends
/// are "\n". Other fields, "attach" above all, are passed over.
struct MailtoFields
{
    QStringList to; ///< one address each, as written
    QStringList cc;
    QStringList bcc;
    QString subject;
    QString body;
    QString inReplyTo; ///< a Message-ID with its angle brackets
};

struct NewsTarget
{
    QString server; ///< empty: the user's own
    int port = 0;   ///< 0: the usual one
    QString group;
    QString messageId; ///< without angle brackets
    QString article;   ///< a number in the group, of nntp: only
};

struct ParsedUrl
{
    UrlKind kind = UrlKind::None;
    QString text; ///< the URL itself
    QString path; ///< File: the file's full name, empty when the URL names none on this machine; Velmar: what
                  ///< follows the scheme
    MailtoFields mail;
    NewsTarget news;
};

ParsedUrl parseUrl(const QString &url);

/// The sentence, with a "%s" for the URL, that the user is told while there is no window for this kind.
const char *noWindowText(UrlKind kind);

/// The full name of the file that a file: URL names on this machine; empty for any other text.
QString localPath(const QString &fileUrl);

/// The file: URL of a file name, in ASCII and without blanks.
QString fileUrl(const QString &path);

/// Whether a text begins like a URL (RFC 3986, section 3.1). One letter is no scheme: it would be a drive.
bool hasScheme(QStringView text);
