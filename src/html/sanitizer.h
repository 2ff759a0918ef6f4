#pragma once

#include "html/colours.h"

#include <QList>
#include <QString>
#include <QStringList>

/// HTML of a message, made safe to show and cheap to lay out. Nothing of the message's own markup is passed
/// on: what is understood and allowed is written anew, in the subset that a text document knows.

struct HtmlOptions
{
    static constexpr qsizetype kFirstLook = 150 * 1024;
    static constexpr qsizetype kEverything = 4 * 1024 * 1024;

    qsizetype cap = kFirstLook; ///< bytes of markup and text; beyond kFirstLook more tables are allowed, too
    bool images = true;         ///< false: none at all, their words instead
    bool remoteImages = false;  ///< keep the addresses of pictures on the net, but for trackers
    int width = 0;              ///< pixels that there are for it; 0: as many as it likes
    Colour text = 0x1A2025;     ///< of what has no colour of its own, on its own or on a white ground
    Colour link = 0x0B5F80;
    double fontSize = 14; ///< of the reader's text, pixels; what "em" refers to
    double zoom = 1;      ///< of all sizes of text that the message sets

    /// How many times the tables, blocks and items of a first look are allowed.
    int effort() const { return cap > kFirstLook ? 8 : 1; }
};

struct DeceptiveLink
{
    QString text;
    QString target;
};

struct SafeHtml
{
    QString html;                        ///< a whole document
    bool truncated = false;              ///< there is more than the options allow
    bool hasOwnColours = false;          ///< sets a background or a colour of text: show it on a light card
    int widest = 0;                      ///< of the widths that tables and blocks ask for, pixels
    QString background;                  ///< of the whole text, "#rrggbb"; empty: none given
    QStringList remoteImages;            ///< addresses on the net, once each, whether kept or left out
    QStringList trackers;                ///< of pictures that are not to be seen, once each; never kept
    int remoteOthers = 0;                ///< backgrounds, frames, films, styles on the net: never kept either
    QStringList cids;                    ///< Content-IDs that pictures refer to, without brackets, once each
    QStringList links;                   ///< targets in the order of the text
    QList<DeceptiveLink> deceptiveLinks; ///< the text names another host than the link goes to
};

/// @p text is decoded. Scripts, forms, frames, what is hidden, and links other than http, https, mailto, ftp,
/// news and nntp go. Pictures are kept with src "cid:..." and "data:image/..." (bitmaps only), and with
/// http(s) if asked for; nothing else that could load anything is in the result. Words without blanks have a
/// zero width space (U+200B) every 80 characters.
///
/// Text with a contrast below 3 to what it lies on is moved away from that. What asks for more than the width
/// there is gets all of it, and what stands inside becomes smaller likewise.
///
/// A picture on the net is a tracker when it is too small to be seen, hidden, or its address is that of a
/// counter (isBeacon()) and no size speaks against that. Spacers count among the others.
SafeHtml sanitizeHtml(const QString &text, const HtmlOptions &options = {});
