#pragma once

#include "message/mimecontext.h"

#include <QList>

struct ContentFields;

/// Whether a line is a boundary, and which.
struct BoundaryMatch
{
    int result = 0;       ///< 0 none, 1 separator, 2 closing boundary
    qsizetype index = -1; ///< in the list of open boundaries
};

/// Tests @p line, which may have blanks and its line end behind it, against the open boundaries, the
/// innermost first; the first one that matches wins.
BoundaryMatch testBoundary(QByteArrayView line, const QList<QByteArray> &open);

/// Builds the part list of a context in one pass over its text: every line is looked at once, whatever is
/// nested in what.
class MIMEParser
{
public:
    static constexpr int kMostParts = 10'000;
    static constexpr int kMostLevels = 100;

    explicit MIMEParser(MIMEContext &context);
    void run();

private:
    /// The text that is being read: the message's own, or that of an enclosed message after its decoding.
    struct Source
    {
        QByteArrayView text;
        qsizetype end = 0;
        int within = -1;
        QList<QByteArray> open; ///< boundaries of the multiparts that we are in, the innermost first
    };

    /// Where the content being read ended and by which boundary; level -1 is the end of the text.
    struct Stop
    {
        int result = 0;
        qsizetype level = -1;     ///< counted from the outermost boundary
        qsizetype contentEnd = 0; ///< before the line end that belongs to the boundary
        qsizetype next = 0;       ///< behind the boundary's line
    };

    struct Place
    {
        int parent;
        int depth;
        bool inDigest = false;
        bool isMessage = false; ///< an enclosed message rather than a part with a header
    };

    void parsePart(qsizetype from, const Place &place);
    void parseContent(int index, qsizetype from, const QByteArray &boundary, const Place &place);
    void parseMultipart(int index, qsizetype from, const QByteArray &boundary, const Place &inside);
    qsizetype readParts(qsizetype from, const QByteArray &boundary, const Place &inside);
    void parseSigned(qsizetype from, const QByteArray &boundary);
    void parseEncodedMessage(int index, const Place &inside);
    void parseLeaf(int index);

    qsizetype readHeader(qsizetype from, const Place &place, qsizetype *headerEnd);
    qsizetype skipEnvelope(qsizetype from) const;
    bool contentFieldFollows(qsizetype from) const;
    bool isEmptyLine(qsizetype from, qsizetype end) const;
    void stopAtBoundary(qsizetype from);
    bool testLine(qsizetype from, qsizetype lineEnd, qsizetype contentFrom);
    void stopAtEnd();
    qsizetype find(char c, qsizetype from) const;
    qsizetype lineEnd(qsizetype from) const { return find('\n', from); }
    QByteArray guessBoundary(qsizetype from) const;

    bool hasRoom() const;
    int add(MIMEPart part);
    void addRest(qsizetype from, int parent);
    void addText(qsizetype from, qsizetype end, int parent);
    void listBlocks(int index);
    bool mayEnter(int index, const Place &place);
    void truncate();

    MIMEPart &part(int index) { return m_context.m_parts[std::size_t(index)]; }

    MIMEContext &m_context;
    Source m_source;
    Stop m_stop;
    int m_reserved = 1;  ///< entries kept free for what does not fit, one for each text being read
    qint64 m_budget = 0; ///< bytes of enclosed messages that may still be decoded
};
