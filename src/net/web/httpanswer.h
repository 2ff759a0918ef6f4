#pragma once

#include "net/web/webproblem.h"

#include <QByteArray>
#include <QByteArrayView>

#include <array>
#include <vector>

/// One answer of a web server (RFC 9112), read as its bytes arrive. Interim answers (1xx) are passed over;
/// the content is read of a 200 only, for nothing else of it is wanted.
class HttpAnswer
{
public:
    enum class Content { Wanted, Unwanted };

    /// @p mostBytes bounds the content, be it announced or not.
    HttpAnswer(Content content, qint64 mostBytes);

    /// Takes the next bytes that came. What lies behind the end of the answer is left, see hasSurplus().
    void take(QByteArrayView bytes);

    /// The server closed the connection: the end of a content without a length, too early for all else.
    void close();

    bool isComplete() const { return m_phase == Phase::Complete; }
    bool hasSurplus() const { return m_hasSurplus; }

    /// None while all is well; afterwards nothing more is taken.
    WebProblem problem() const { return m_problem; }

    int status() const { return m_status; } ///< 0 until it is known

    /// The first field of that name, in lower case; null when there is none.
    QByteArray field(QByteArrayView name) const;

    /// What there is of the content so far.
    const QByteArray &content() const { return m_content; }

private:
    enum class Phase { Status, Field, Sized, ToTheEnd, ChunkSize, Chunk, ChunkEnd, Trailer, Complete };
    struct Step
    {
        Phase phase;
        void (HttpAnswer::*onLine)(const QByteArray &line); ///< null: bytes of the content
    };
    static const std::array<Step, 9> s_steps;

    bool isOver() const { return isComplete() || m_problem != WebProblem::None; }
    qsizetype takeLine(QByteArrayView bytes);
    qsizetype takeContent(QByteArrayView bytes);
    void contentTaken();

    void statusLine(const QByteArray &line);
    void fieldLine(const QByteArray &line);
    void chunkSizeLine(const QByteArray &line);
    void chunkEndLine(const QByteArray &line);
    void trailerLine(const QByteArray &line);

    void headComplete();
    void beginContent();
    void beginSized(qint64 length);
    qint64 announcedLength() const;

    struct Field
    {
        QByteArray name; ///< in lower case
        QByteArray value;
    };

    Content m_wanted;
    qint64 m_mostBytes;
    Phase m_phase = Phase::Status;
    WebProblem m_problem = WebProblem::None;
    bool m_hasSurplus = false;
    int m_status = 0;
    std::vector<Field> m_fields;
    QByteArray m_line;         ///< the beginning of one whose end has not come
    qsizetype m_lineBytes = 0; ///< of head or trailer so far, or since the last chunk
    qint64 m_left = 0;         ///< of the content with a length or of the chunk
    QByteArray m_content;
};
