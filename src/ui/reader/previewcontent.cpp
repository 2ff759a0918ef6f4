#include "ui/reader/previewcontent.h"

#include "html/htmltotext.h"
#include "message/charset.h"
#include "message/message.h"
#include "message/mimecontext.h"
#include "ui/reader/attachmentfiles.h"
#include "ui/reader/bodyplan.h"
#include "ui/reader/cardpane.h"
#include "ui/reader/datacard.h"
#include "ui/reader/messageview.h"
#include "ui/reader/picturepane.h"
#include "ui/reader/sourcetext.h"

#include <QMimeDatabase>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLargestPreview = 64 * 1024 * 1024; ///< bytes of a part, as it travels

/// Source code and the like: a kind of text to those who know types, whatever its own type is called.
bool isKindOfText(const QByteArray &type)
{
    if (type.startsWith("text/") || type.endsWith("+xml") || type.endsWith("+json"))
        return true;
    return QMimeDatabase().mimeTypeForName(QString::fromLatin1(type)).inherits(u"text/plain"_s);
}

bool looksLikeText(const Message &message, int part)
{
    return !attachmentStart(message, part).contains('\0');
}

QString textOf(const Message &message, int part)
{
    const MIMEPart &entry = message.mime().part(part);
    if (entry.type == HtmlPart)
        return htmlToText(message.mime().decodedText(part));
    return isTextCategory(entry.type) ? message.mime().decodedText(part)
                                      : decodeUnlabelled(message.mime().decodedBytes(part));
}

} // namespace

PreviewKind previewKindOf(const Message &message, int part)
{
    const MIMEPart &entry = message.mime().part(part);
    if (isMultipartCategory(entry.type) || entry.length > kLargestPreview)
        return PreviewKind::None;
    if (entry.contenttype == "message/rfc822" || entry.contenttype == "message/news")
        return PreviewKind::Message;
    const QByteArray type = attachmentType(entry);
    if (type == "message/rfc822")
        return PreviewKind::Message;
    const DataKind data = dataKindOf(entry);
    if ((data == DataKind::Contact || data == DataKind::Calendar) && !partCards(message, part).isEmpty())
        return PreviewKind::Cards;
    if (isShownImage(type))
        return PreviewKind::Picture;
    return isKindOfText(type) && looksLikeText(message, part) ? PreviewKind::Text : PreviewKind::None;
}

QWidget *newPreview(const Message &message, int part, QWidget *parent)
{
    switch (previewKindOf(message, part)) {
    case PreviewKind::None: return nullptr;
    case PreviewKind::Picture: return new PicturePane(message, part, parent);
    case PreviewKind::Text: {
        auto *text = new SourceText(textOf(message, part).toUtf8(), parent);
        text->setWrapped(true);
        return text;
    }
    case PreviewKind::Cards: return new CardPane(partCards(message, part), parent);
    case PreviewKind::Message: break;
    }
    auto *view = new MessageView(parent);
    view->showMessage(Message(message.mime().decodedBytes(part)));
    return view;
}
