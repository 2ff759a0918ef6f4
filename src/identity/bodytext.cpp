#include "identity/bodytext.h"

#include "html/htmltotext.h"
#include "message/mimecontext.h"

#include <algorithm>

namespace {

template <typename Wanted>
bool anyAncestor(const MIMEContext &mime, int index, Wanted wanted)
{
    for (int parent = mime.part(index).parent;; parent = mime.part(parent).parent) {
        if (wanted(parent))
            return true;
        if (parent < 0)
            return false;
    }
}

/// Where the part is in a list with a place for each, and the last one for the message itself.
std::size_t slotOf(const MIMEContext &mime, int part)
{
    return std::size_t(part < 0 ? mime.count() : part);
}

/// By part, and last the message itself: whether it is an alternative with a plain text in it.
std::vector<bool> alternativesWithPlainText(const MIMEContext &mime)
{
    std::vector<bool> have(std::size_t(mime.count()) + 1);
    for (int i = 0; i < mime.count(); ++i) {
        if (mime.part(i).type != PlainTextPart || mime.part(i).isAttachment())
            continue;
        anyAncestor(mime, i, [&](int part) {
            const int type = part < 0 ? mime.type() : mime.part(part).type;
            if (type == AlternativePart)
                have[slotOf(mime, part)] = true;
            return false;
        });
    }
    return have;
}

enum class Enclosed { LeftOut, Taken };

QStringList readableTexts(const MIMEContext &mime, Enclosed enclosed)
{
    const std::vector<bool> hasPlainText = alternativesWithPlainText(mime);
    QStringList texts;
    for (int i = 0; i < mime.count(); ++i) {
        const MIMEPart &part = mime.part(i);
        if (!isTextCategory(part.type) || part.isAttachment())
            continue;
        const bool isLeftOut = anyAncestor(mime, i, [&](int ancestor) {
            const bool isEnclosed = ancestor >= 0 && isEnclosedCategory(mime.part(ancestor).type);
            return (isEnclosed && enclosed == Enclosed::LeftOut) ||
                   (part.type != PlainTextPart && hasPlainText[slotOf(mime, ancestor)]);
        });
        if (!isLeftOut)
            texts += part.type == HtmlPart ? htmlToText(mime.decodedText(i)) : mime.displayText(i);
    }
    return texts;
}

} // namespace

QString bodyText(const Message &message)
{
    QStringList texts = readableTexts(message.mime(), Enclosed::LeftOut);
    if (texts.isEmpty())
        texts = readableTexts(message.mime(), Enclosed::Taken);
    return texts.join(u'\n');
}
