#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

/// One reply of an SMTP server (RFC 5321 4.2), put together from its lines.
class SmtpReply
{
public:
    enum class Progress {
        More,  ///< a further line follows
        Whole, ///< this was its last
        Broken ///< this is no reply: no code, another code than before, or no end of lines
    };

    /// Takes one line without its end. After Whole or Broken the next line begins a new reply.
    Progress take(QByteArrayView line);

    /// Whether a line came, and more have to follow.
    bool isBegun() const { return m_count > 0 && !m_isOver; }

    /// From 200 to 599; 0 before the first line.
    int code() const { return m_code; }
    bool isTemporary() const { return m_code / 100 == 4; }
    bool isPermanent() const { return m_code / 100 == 5; }
    bool isRefusal() const { return isTemporary() || isPermanent(); }

    /// What stands behind the code in the last line.
    QByteArray argument() const;

    /// The lines with their codes for people, joined by "\n".
    QString lines() const;

    /// The text behind the codes as one line for people. In both, controls and what turns the direction of
    /// text are spelled out, and there is no more than a window shows.
    QString text() const;

private:
    QByteArray m_lines;
    QByteArray m_last;
    int m_code = 0;
    int m_count = 0;
    qsizetype m_heard = 0; ///< bytes
    bool m_isOver = false;
};
