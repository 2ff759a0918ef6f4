#include "mailmaker.h"

#include "encode.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// exp(mu) is the median, exp(mu + sigma^2 / 2) the mean. The encodings add a twelfth to what is drawn.
const double kMu = std::log(4400.0 * 12 / 13);
const double kSigma = std::sqrt(2 * std::log(15'000.0 / 4400.0));
constexpr qsizetype kLargest = 8'000'000;
constexpr qsizetype kSmallest = 150; ///< of a body
constexpr std::size_t kRemembered = 60;

// Attachments are found in large messages rather than in small ones; together they are 15 of 100.
constexpr double kLarge = 9000;
constexpr double kAttachmentsOfLarge = 0.44;
constexpr double kAttachmentsOfSmall = 0.04;
constexpr double kAlternatives = 0.215; ///< of the others: with the attachments a third of all

const QList<QString> kNames = {
    u"Anna Berg"_s,      u"John Carter"_s, u"Jürgen Müller"_s,   u"Élodie Lefèvre"_s,
    u"Maria Rossi"_s,    u"Peter Novak"_s, u"Sofia Lindqvist"_s, u"David Okafor"_s,
    u"Laura Weiß"_s,     u"Tom Becker"_s,  u"Hanna Schröder"_s,  u"Luis García"_s,
    u"Emma Johansson"_s, u"Paul Dupont"_s, u"Nina Fischer"_s,    u"Robert Hall"_s};
const QList<QByteArray> kHosts = {"example.com", "mail.example.org", "example.net", "lists.example.org"};

QByteArray addressOf(const QString &name, const QByteArray &host)
{
    QByteArray local;
    for (const QChar c : name.normalized(QString::NormalizationForm_D).toLower()) {
        if (c.unicode() < 0x80)
            local += c == u' ' ? '.' : char(c.unicode());
    }
    return local + '@' + host;
}

QByteArray dateText(const QDateTime &date)
{
    return QLocale::c().toString(date, u"ddd, dd MMM yyyy HH:mm:ss"_s).toLatin1() + " +0000";
}

QByteArray randomBytes(qsizetype count, Random &random)
{
    QByteArray bytes(count, Qt::Uninitialized);
    for (char &c : bytes)
        c = char(random.bits());
    return bytes;
}

/// A table of values such as people send about; it packs well.
QByteArray tableOfValues(qsizetype size, Random &random)
{
    QByteArray table = "date;station;temperature;pressure\n";
    while (table.size() < size)
        table += QByteArray::number(20190101 + random.below(365)) + ";station " +
                 QByteArray::number(random.below(40)) + ';' + QByteArray::number(random.below(400) / 10.0) +
                 ';' + QByteArray::number(980 + random.below(60)) + '\n';
    return table;
}

} // namespace

MailMaker::MailMaker(Kind kind, quint64 seed)
    : m_kind(kind)
    , m_random(seed)
    , m_now(QDate(2019, 1, 1), QTime(8, 0), Qt::UTC)
{}

MailMaker::Mail MailMaker::next()
{
    Mail mail;
    const Language *language = &anyLanguage(m_random);
    const QByteArray head = header(mail, language);
    mail.text = head + body(mail, *language, qMax(drawSize() - head.size(), kSmallest));
    if (!mail.text.endsWith('\n'))
        mail.text += '\n';
    return mail;
}

/// Of the whole message, in bytes.
qsizetype MailMaker::drawSize()
{
    if (m_kind == Kind::Small)
        return 0;
    return qMin(qsizetype(std::exp(kMu + kSigma * m_random.normal())), kLargest);
}

QByteArray MailMaker::header(Mail &mail, const Language *&language)
{
    m_now = m_now.addSecs(60 + m_random.below(3600));
    mail.date = m_now;
    const QString name = m_random.oneOf(kNames);
    const QByteArray host = m_random.oneOf(kHosts);
    mail.sender = addressOf(name, host);
    QString subject;
    const QByteArray thread = threadFields(language, subject);
    const QString recipient = m_random.oneOf(kNames);

    QByteArray head = "Return-Path: <" + mail.sender + ">\n" + received();
    if (m_kind == Kind::Natural)
        head += received() + signature();
    head += "Date: " + dateText(m_now) + '\n';
    head += "From: " + headerValue(name, "utf-8") + " <" + mail.sender + ">\n";
    head += "To: " + headerValue(recipient, "utf-8") + " <" + addressOf(recipient, "example.com") + ">\n";
    head += thread;
    head += "Subject: " + headerValue(subject, language->charset) + '\n';
    if (host.startsWith("lists."))
        head += "List-Id: <project.lists.example.org>\nList-Post: <mailto:project@lists.example.org>\n";
    return head + "User-Agent: Post/4.2\nMIME-Version: 1.0\n";
}

QByteArray MailMaker::received()
{
    const QByteArray id = QByteArray::number(m_random.bits(), 36);
    return "Received: from " + m_random.oneOf(kHosts) + " (" + m_random.oneOf(kHosts) + " [192.0.2." +
           QByteArray::number(1 + m_random.below(250)) + "])\n\tby mx.example.com (Postfix) with ESMTPS id " +
           id + "\n\tfor <reader@example.com>; " + dateText(m_now) + '\n';
}

QByteArray MailMaker::signature()
{
    if (m_random.chance(0.4))
        return {};
    QByteArray lines = base64Lines(randomBytes(168, m_random)).trimmed();
    lines.replace("\n", "\n\t");
    return "DKIM-Signature: v=1; a=rsa-sha256; c=relaxed/relaxed; d=example.com; s=post;\n"
           "\th=date:from:to:subject:message-id:mime-version; bh=" +
           randomBytes(32, m_random).toBase64() + ";\n\tb=" + lines + '\n';
}

/// The identifiers. What answers another one has its subject and language.
QByteArray MailMaker::threadFields(const Language *&language, QString &subject)
{
    const QByteArray id = '<' + QByteArray::number(m_random.bits(), 36) + '.' +
                          QByteArray::number(m_now.toSecsSinceEpoch()) + "@example.com>";
    QByteArray fields = "Message-ID: " + id + '\n';
    QByteArray references;
    if (!m_earlier.empty() && m_random.chance(0.6)) {
        const Earlier &parent = m_random.oneOf(m_earlier);
        language = parent.language;
        subject = parent.subject;
        references = parent.references + "\n\t";
        fields += "In-Reply-To: " + parent.id + "\nReferences: " + parent.references + '\n';
    }
    if (!subject.startsWith(u"Re: "))
        subject =
            subject.isEmpty() ? phrase(*language, 2 + int(m_random.below(7)), m_random) : u"Re: "_s + subject;
    m_earlier.push_back({id, references + id, subject, language});
    if (m_earlier.size() > kRemembered)
        m_earlier.pop_front();
    return fields;
}

QByteArray MailMaker::textPart(const Language &language, const QString &text, const char *subtype)
{
    const Transfer transfer = m_random.oneOf(language.transfers);
    const bool ascii = transfer == Transfer::SevenBit && language.charset == "utf-8";
    return "Content-Type: text/" + QByteArray(subtype) +
           "; charset=" + (ascii ? "us-ascii" : language.charset) +
           "\nContent-Transfer-Encoding: " + transferName(transfer) + "\n\n" +
           transferEncoded(inCharset(text, language.charset), transfer);
}

/// @p size bytes, encoded.
QByteArray MailMaker::attachmentPart(qsizetype size)
{
    const bool picture = m_random.chance(0.65);
    const QByteArray number = QByteArray::number(m_random.below(10'000));
    const QByteArray name = picture ? "image" + number + ".jpg" : "values" + number + ".csv";
    const qsizetype raw = size * 3 / 4;
    return "Content-Type: " + QByteArray(picture ? "image/jpeg" : "application/octet-stream") + "; name=\"" +
           name + "\"\nContent-Disposition: attachment; filename=\"" + name +
           "\"\nContent-Transfer-Encoding: base64\n\n" +
           base64Lines(picture ? randomBytes(raw, m_random) : tableOfValues(raw, m_random));
}

QByteArray MailMaker::multipart(const char *subtype, const QByteArray &first, const QByteArray &second)
{
    const QByteArray boundary = "----=_Part_" + QByteArray::number(m_random.bits(), 16);
    return "Content-Type: multipart/" + QByteArray(subtype) + ";\n\tboundary=\"" + boundary +
           "\"\n\nThis is a message in several parts.\n--" + boundary + '\n' + first + "\n--" + boundary +
           '\n' + second + "\n--" + boundary + "--\n";
}

/// The fields about the content, an empty line and the content, about @p size bytes.
QByteArray MailMaker::body(Mail &mail, const Language &language, qsizetype size)
{
    if (m_kind != Kind::Natural)
        return textPart(language, m_kind == Kind::Small ? letter(language, size) : notice(), "plain");
    // Some sets take two or three bytes for a character, before they are encoded.
    const qsizetype characters = language.spaced ? size : size / 3;
    mail.hasAttachment = m_random.chance(double(size) > kLarge ? kAttachmentsOfLarge : kAttachmentsOfSmall);
    if (mail.hasAttachment) {
        mail.isMultipart = true;
        const qsizetype words = qMin(characters / 4, qsizetype(400 + m_random.below(1500)));
        return multipart("mixed", textPart(language, letter(language, words), "plain"),
                         attachmentPart(size - words));
    }
    if (m_random.chance(kAlternatives)) {
        mail.isMultipart = true;
        return multipart("alternative", textPart(language, letter(language, characters * 2 / 5), "plain"),
                         textPart(language, html(language, characters * 3 / 5), "html"));
    }
    return textPart(language, letter(language, characters), "plain");
}

/// A greeting, a quotation often, text and a signature.
QString MailMaker::letter(const Language &language, qsizetype characters)
{
    QString text;
    if (m_random.chance(0.4)) {
        const QStringList lines = prose(language, characters / 3, m_random).split(u'\n');
        text = u"> "_s + lines.join(u"\n> "_s) + u"\n\n"_s;
        text.replace(u"> \n"_s, u">\n"_s);
    }
    text += prose(language, characters - text.size(), m_random);
    return m_random.chance(0.5) ? text + u"\n-- \nJ. Carter, example.com\n"_s : text + u'\n';
}

QString MailMaker::html(const Language &language, qsizetype characters)
{
    QString page =
        u"<!DOCTYPE html>\n<html><head><style>body { font-family: sans-serif; color: #222 }</style>"
        "</head>\n<body><table width=\"600\" cellpadding=\"0\">\n"_s;
    while (page.size() < characters)
        page += u"<tr><td style=\"padding: 8px 12px\"><p>%1</p></td></tr>\n"_s.arg(
            prose(language, 300, m_random).trimmed());
    return page + u"</table></body></html>\n"_s;
}

QString MailMaker::notice()
{
    QString text = u"Your nightly report has been prepared.\n\n"_s;
    for (qsizetype line = 5 + m_random.below(40); line > 0; --line)
        text += u"  job-%1  finished after %2 seconds with status %3 on worker-%4.example.com\n"_s
                    .arg(m_random.below(500))
                    .arg(m_random.below(3000))
                    .arg(m_random.chance(0.95) ? u"success"_s : u"failure"_s)
                    .arg(m_random.below(16));
    return text + u"\nYou get this message because you asked for it. Change that in your settings:\n"
                  "https://example.com/settings/notifications\n"_s;
}
