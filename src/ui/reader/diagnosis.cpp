#include "ui/reader/diagnosis.h"

#include "message/charset.h"
#include "message/message.h"
#include "message/mimecontext.h"
#include "ui/texts/harmless.h"

#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kMostParts = 50;                 ///< that are looked at
constexpr qsizetype kTail = 1024 * 1024;       ///< of a multipart, where its last boundary is looked for
constexpr qsizetype kReadThrough = 256 * 1024; ///< of all texts
constexpr qsizetype kLongestCharset = 60;
constexpr qsizetype kLongestName = 80;

QString translated(const char *text)
{
    return QCoreApplication::translate("Diagnosis", text);
}

QString quoted(const QByteArray &charset)
{
    return harmlessLine(QString::fromLatin1(charset), kLongestCharset);
}

/// Whether @p text has the line that ends the parts of a multipart (RFC 2046, 5.1.1).
bool isClosed(QByteArrayView text, const QByteArray &boundary)
{
    const QByteArrayView tail = text.last(std::min(text.size(), kTail));
    return tail.lastIndexOf(QByteArrayView("--" + boundary + "--")) >= 0;
}

class Doctor
{
public:
    Doctor(const Message &message, const MIMEContext &mime, const QByteArray &charset)
        : m_message(message)
        , m_mime(mime)
        , m_charset(charset)
    {}

    QStringList run()
    {
        if (QByteArrayView(m_message.text()).trimmed().isEmpty())
            return {translated("The message is empty.")};
        structure();
        const int parts = std::min(m_mime.count(), kMostParts);
        for (int part = 0; part < parts; ++part)
            encoding(part);
        for (int part = 0; part < parts; ++part)
            letters(part);
        header();
        m_faults.removeDuplicates();
        return m_faults;
    }

private:
    void structure()
    {
        if (m_message.headerBlock().trimmed().isEmpty())
            add(translated("It has no header."));
        if (m_mime.truncated())
            add(translated("It has too many parts to list them all."));
        multipart(-1, m_mime.type(), m_message.body());
        for (int part = 0; part < std::min(m_mime.count(), kMostParts); ++part)
            multipart(part, m_mime.part(part).type, m_mime.rawContent(part));
    }

    void multipart(int part, int type, QByteArrayView content)
    {
        if (!isMultipartCategory(type))
            return;
        const QByteArray boundary = m_mime.parameter(part, "content-type", "boundary").trimmed();
        if (boundary.isEmpty())
            add(translated("It does not say where its parts begin."));
        else if (!content.last(std::min(content.size(), kTail)).contains(QByteArrayView("--" + boundary)))
            add(translated("It has no parts where it announces some."));
        else if (!isClosed(content, boundary))
            add(translated("The end of the message is missing."));
    }

    void encoding(int part)
    {
        const MIMEPart &entry = m_mime.part(part);
        if (entry.encoding != Base64 || isMultipartCategory(entry.type) ||
            isWholeBase64(m_mime.rawContent(part)))
            return;
        if (entry.name.isEmpty())
            add(translated("A part of it breaks off."));
        else
            add(translated("“%1” breaks off.").arg(harmlessLine(entry.name, kLongestName)));
    }

    /// Lines of base64 hold whole groups of four; what ends inside a group was cut (RFC 4648, 3.2).
    static bool isWholeBase64(QByteArrayView content)
    {
        QByteArrayView rest = content.trimmed();
        if (rest.isEmpty() || rest.endsWith('='))
            return true;
        qsizetype digits = 0;
        constexpr qsizetype kCounted = 512 * 1024;
        // a long one is counted from the end of a line, where a group ends, too
        if (rest.size() > kCounted)
            rest = rest.sliced(rest.indexOf('\n', rest.size() - kCounted / 2) + 1);
        for (const char c : rest)
            digits += (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '+' || c == '/';
        return digits % 4 == 0;
    }

    void letters(int part)
    {
        const MIMEPart &entry = m_mime.part(part);
        const bool isShown =
            entry.type == PlainTextPart || entry.type == HtmlPart || entry.type == OtherTextPart;
        if (!isShown || entry.isAttachment() || !m_charset.isEmpty())
            return;
        const bool isText = entry.contenttype == "text/plain" || entry.contenttype == "text/html";
        if (entry.type == OtherTextPart && isText && !hasConverter(entry.charset))
            return add(translated("Its character set “%1” is not known.").arg(quoted(entry.charset)));
        const QByteArrayView raw = m_mime.rawContent(part);
        if (raw.size() > m_left)
            return;
        m_left -= raw.size();
        const QByteArray bytes = m_mime.decodedBytes(part);
        const bool isAscii = std::all_of(bytes.begin(), bytes.end(), [](char c) { return uchar(c) < 0x80; });
        if (entry.labelled) {
            const bool broken = !isAscii &&
                                decodeCharset(bytes, entry.charset)
                                    .value_or(QString())
                                    .contains(QChar::ReplacementCharacter) &&
                                !bytes.contains("\xEF\xBF\xBD");
            if (broken)
                add(translated("Some letters do not exist in its character set “%1”.")
                        .arg(quoted(entry.charset)));
        } else if (!isAscii && entry.type == PlainTextPart && !isUtf8(bytes)) {
            add(translated("It does not say which character set it is written in."));
        }
    }

    void header()
    {
        if (m_message.addresses("From").isEmpty())
            add(m_message.hasHeader("From") ? translated("Its sender cannot be read.")
                                            : translated("It names no sender."));
        if (!m_message.readableDate())
            add(m_message.hasHeader("Date") ? translated("Its date cannot be read.")
                                            : translated("It has no date."));
        if (m_message.body().trimmed().isEmpty())
            add(translated("It has no text."));
    }

    void add(const QString &fault) { m_faults.append(fault); }

    const Message &m_message;
    const MIMEContext &m_mime;
    const QByteArray &m_charset;
    QStringList m_faults;
    qsizetype m_left = kReadThrough;
};

} // namespace

QStringList diagnose(const Message &message, const MIMEContext &mime, const QByteArray &charset)
{
    return Doctor(message, mime, charset).run();
}

QString faultsInWords(const QStringList &faults)
{
    if (faults.size() < 2)
        return faults.value(0);
    const int more = int(faults.size()) - 1;
    return more == 1 ? translated("%1 There is 1 more fault.").arg(faults.first())
                     : translated("%1 There are %2 more faults.").arg(faults.first()).arg(more);
}
