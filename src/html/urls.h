#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

/// A piece of text that names an address on the net, counted in UTF-16 units.
struct UrlRange
{
    qsizetype start = 0;
    qsizetype length = 0;
    QString target; ///< what to open: the text itself, or with "http://" or "mailto:" before it
};

/// The addresses in @p text, in order: http, https, ftp, news, nntp and mailto URLs, hosts that begin with
/// "www." or "ftp.", and mail addresses. Punctuation and brackets around them do not belong to them, but a
/// bracket that they open themselves does. One pass.
QList<UrlRange> findUrls(QStringView text);

/// The address of a link as it may be opened: without blanks around and line ends inside, of a scheme that
/// harms nobody (http, https, mailto, ftp, news, nntp), or "#name" inside the text. Empty: not to be opened.
QString safeTarget(QStringView target);

/// The address of a picture on the net, http or https, as it may be asked for: without control characters and
/// blanks around, "//host/x" with "https:" before it. Empty: it is none, has no host, or carries a name and a
/// password.
QString remoteAddress(QStringView source);

/// Whether the address itself says that it counts who opens a message and is no picture to look at.
bool isBeacon(QStringView address);

/// A web address without what only tells its owner who followed the link (utm_source, fbclid, mc_eid and
/// their like); @p removed names what went. Everything else stays as it is written.
QString withoutTracking(const QString &target, QStringList *removed = nullptr);

/// Whether the name of a host could be taken for another one: a label mixes alphabets that no language writes
/// together, or is made of nothing but foreign letters that look Latin (UTS 39). @p host is Unicode.
bool isConfusable(QStringView host);

/// The host of a web address or the domain of a mail address, in lower case and without "www."; else empty.
QString hostOf(QStringView target);

/// Whether a link that shows @p text makes its reader believe that it goes elsewhere than to @p target: the
/// text itself names a host or an address, and neither of the two lies within the other.
bool isDeceptive(QStringView text, QStringView target);
