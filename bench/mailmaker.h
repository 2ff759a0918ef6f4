#pragma once

#include "languages.h"

#include <QDateTime>

#include <deque>

/// Makes mail as people get it, the same for the same seed: sizes log-normal with a median of 4.4 KB and a
/// mean of 15 KB, a third multipart, 15 % with attachments, in eight mixtures of language and character set,
/// most of it in threads.
class MailMaker
{
public:
    enum class Kind {
        Natural,
        Small,   ///< plain texts of a few lines, where only their number counts
        Notices, ///< what machines send: one form, a few values in it
    };

    MailMaker(Kind kind, quint64 seed);

    struct Mail
    {
        QByteArray text; ///< ends with a line end
        QByteArray sender;
        QDateTime date;
        bool isMultipart = false;
        bool hasAttachment = false;
    };
    Mail next();

private:
    struct Earlier
    {
        QByteArray id;
        QByteArray references; ///< with its own identifier at the end
        QString subject;
        const Language *language;
    };

    qsizetype drawSize();
    QByteArray header(Mail &mail, const Language *&language);
    QByteArray received();
    QByteArray signature();
    QByteArray threadFields(const Language *&language, QString &subject);
    QByteArray textPart(const Language &language, const QString &text, const char *subtype);
    QByteArray attachmentPart(qsizetype size);
    QByteArray multipart(const char *subtype, const QByteArray &first, const QByteArray &second);
    QByteArray body(Mail &mail, const Language &language, qsizetype size);
    QString letter(const Language &language, qsizetype characters);
    QString html(const Language &language, qsizetype characters);
    QString notice();

    Kind m_kind;
    Random m_random;
    QDateTime m_now;
    std::deque<Earlier> m_earlier; ///< what the next one may answer
};
