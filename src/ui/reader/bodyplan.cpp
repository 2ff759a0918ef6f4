#include "ui/reader/bodyplan.h"

#include "message/mimecontext.h"
#include "ui/reader/datacard.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostSections = 300; ///< a document of ten thousand pieces is no reading
constexpr int kMostImages = 40;
constexpr qsizetype kLargestData = 2 * 1024 * 1024; ///< bytes of contacts or events that become cards

QString translated(const char *text)
{
    return QCoreApplication::translate("BodyPlan", text);
}

class Planner
{
public:
    Planner(const MIMEContext &mime, const PlanOptions &options)
        : m_mime(mime)
        , m_options(options)
        , m_children(std::size_t(mime.count()) + 1)
    {
        for (int part = 0; part < mime.count(); ++part)
            m_children[std::size_t(mime.part(part).parent + 1)].append(part);
    }

    BodyPlan run()
    {
        // the message itself is an entry only where it is no multipart
        if (isMultipartCategory(m_mime.type()))
            multipart(-1, m_mime.type());
        else
            planAll(childrenOf(-1));
        if (m_plan.sections.isEmpty())
            note(emptyNoteOf(m_options));
        if (m_mime.truncated())
            note(translated("This message has too many parts. The rest of it is the last attachment."));
        if (m_full)
            note(translated("This message goes on. What is not shown is among the attachments."));
        return std::move(m_plan);
    }

private:
    const QList<int> &childrenOf(int part) const { return m_children[std::size_t(part + 1)]; }
    const MIMEPart &at(int part) const { return m_mime.part(part); }

    void planAll(const QList<int> &parts)
    {
        for (const int part : parts)
            plan(part);
    }

    void plan(int part)
    {
        const MIMEPart &entry = at(part);
        if (isMultipartCategory(entry.type))
            return multipart(part, entry.type);
        if (isOffered(part))
            m_plan.attachments.append(part);
        if (hasCards(part))
            return add(BodySection::Data, part);
        if (entry.type == ImagePart)
            return image(part);
        if (isTextCategory(entry.type))
            return text(part);
        if (isEnclosedCategory(entry.type))
            return enclosed(part);
        if (entry.type == PartialPart)
            return add(BodySection::Piece, part);
    }

    /// An attachment, or something else that was given a name or has a life of its own.
    bool isOffered(int part) const
    {
        const MIMEPart &entry = at(part);
        const DataKind kind = dataKindOf(entry);
        if (entry.type == PgpSignaturePart || entry.type == PgpEncryptedPart || entry.type == PartialPart ||
            kind == DataKind::Receipt || kind == DataKind::Elsewhere)
            return false;
        if (kind != DataKind::None)
            return true;
        const bool inDigest = entry.parent >= 0 && at(entry.parent).type == DigestPart;
        return entry.isAttachment() || !entry.name.isEmpty() ||
               (entry.contenttype == "message/rfc822" && !inDigest && m_mime.type() != DigestPart);
    }

    bool hasCards(int part) const
    {
        return dataKindOf(at(part)) != DataKind::None && at(part).length <= kLargestData;
    }

    void multipart(int part, int type)
    {
        if (type == AlternativePart)
            return alternative(part);
        if (type == EncryptedPart)
            return encrypted(part);
        m_plan.isSigned |= type == SignedPart;
        planAll(childrenOf(part));
    }

    void encrypted(int part)
    {
        m_plan.isEncrypted = true;
        note(translated("This message is encrypted. It cannot be opened here yet."));
        for (const int child : childrenOf(part))
            if (at(child).type != PgpEncryptedPart)
                m_plan.attachments.append(child);
    }

    /// The last form that can be shown is the richest one (RFC 2046 section 5.1.4).
    void alternative(int part)
    {
        int chosen = -1;
        int plain = -1;
        int html = -1;
        for (const int child : childrenOf(part)) {
            const int form = formOf(child);
            if (form == HtmlPart)
                html = child;
            if (form == PlainTextPart && plain < 0)
                plain = child;
            if (form != AttachmentPart)
                chosen = child;
        }
        m_plan.hasBothForms |= plain >= 0 && html >= 0;
        if (m_options.preferPlain && plain >= 0)
            chosen = plain;
        else if (html >= 0)
            chosen = html;
        for (const int child : childrenOf(part)) // an invitation says more than the text beside it
            if (hasCards(child))
                plan(child);
        for (const int child : childrenOf(part)) {
            if (child == chosen)
                plan(child);
            else if (formOf(child) == AttachmentPart && !hasCards(child))
                leaves(child);
        }
    }

    /// PlainTextPart or HtmlPart for what shows as such, AttachmentPart for what has no place in a text.
    int formOf(int part) const
    {
        for (int depth = 0; isMultipartCategory(at(part).type) && depth < 8; ++depth) { // multipart/related
            if (childrenOf(part).isEmpty())
                return AttachmentPart;
            part = childrenOf(part).first();
        }
        const int type = at(part).type;
        if (hasCards(part))
            return AttachmentPart;
        if (type == HtmlPart || type == PlainTextPart)
            return type;
        return type == OtherTextPart && dataKindOf(at(part)) == DataKind::None ? OtherTextPart
                                                                               : AttachmentPart;
    }

    /// A form that is not shown can still be saved.
    void leaves(int part)
    {
        if (!isMultipartCategory(at(part).type))
            m_plan.attachments.append(part);
        for (const int child : childrenOf(part))
            leaves(child);
    }

    void text(int part)
    {
        const MIMEPart &entry = at(part);
        if (entry.disposition != "attachment" && dataKindOf(entry) == DataKind::None)
            add(entry.type == HtmlPart ? BodySection::Html : BodySection::Text, part);
        planAll(childrenOf(part)); // files that stand in the text (uuencode, yEnc)
    }

    void image(int part)
    {
        if (!m_plan.attachments.contains(part))
            m_plan.attachments.append(part); // one that no text refers to in the end
        if (m_options.images && isShownImage(at(part).contenttype) && m_images++ < kMostImages)
            add(BodySection::Image, part);
    }

    void enclosed(int part)
    {
        if (at(part).contenttype == "message/delivery-status")
            return add(BodySection::Delivery, part);
        add(BodySection::Enclosed, part);
        planAll(childrenOf(part));
        add(BodySection::End, part);
    }

    void add(BodySection::Kind kind, int part)
    {
        const bool closes = kind == BodySection::End;
        if (closes ? m_skipped > 0 : m_plan.sections.size() >= kMostSections) {
            m_full = true;
            m_skipped += closes ? -1 : kind == BodySection::Enclosed ? 1 : 0;
            return;
        }
        m_plan.sections.append({kind, part, {}});
    }

    void note(const QString &words) { m_plan.sections.append({BodySection::Note, -1, words}); }

    const MIMEContext &m_mime;
    PlanOptions m_options;
    std::vector<QList<int>> m_children; ///< by part + 1
    BodyPlan m_plan;
    int m_images = 0;
    int m_skipped = 0; ///< enclosed messages that were begun beyond the limit
    bool m_full = false;
};

} // namespace

QString emptyNoteOf(const PlanOptions &options)
{
    return options.emptyNote.isEmpty() ? translated("This message has no text.") : options.emptyNote;
}

BodyPlan planBody(const MIMEContext &mime, const PlanOptions &options)
{
    return Planner(mime, options).run();
}

bool isShownImage(const QByteArray &contenttype)
{
    static constexpr QByteArrayView kTypes[] = {"image/png", "image/jpeg", "image/jpg",      "image/pjpeg",
                                                "image/gif", "image/bmp",  "image/x-ms-bmp", "image/webp"};
    return std::find(std::begin(kTypes), std::end(kTypes), contenttype) != std::end(kTypes);
}
