#pragma once

#include "html/sanitizer.h"
#include "message/message.h"
#include "ui/reader/bodyplan.h"
#include "ui/reader/bodystyle.h"
#include "ui/reader/datacard.h"
#include "ui/reader/plaintext.h"

#include <QSet>
#include <QTextCursor>

class BodyDocument;
class BodyWriter;

struct BodyOptions
{
    PlanOptions plan;
    bool allHeaders = false;
    bool everything = false;   ///< texts whole, not just their beginnings
    QByteArray charset;        ///< of all texts, whatever they are labelled with; empty: as labelled
    bool remoteImages = false; ///< the user wants those on the net
    double zoom = 1;
    int width = 800; ///< pixels that pictures may take
};

/// What there is to say about a document besides itself.
struct BodyFacts
{
    QList<int> attachments;   ///< parts for the strip: without the pictures that a text shows
    QStringList remoteImages; ///< addresses on the net, once each
    QStringList trackers;     ///< addresses of pictures that nobody is to see
    int remoteOthers = 0;     ///< what else would be loaded elsewhere
    QList<DeceptiveLink> deceptiveLinks;
    bool isSigned = false;
    bool isEncrypted = false;
    bool hasBothForms = false;
    bool truncated = false;   ///< there is more to show with `everything`
    int widest = 0;           ///< pixels that something in the HTML asks for
    bool hasPictures = false; ///< some that were fitted to the width
    bool isPlain = true;      ///< no HTML in it: lines end at the wrap width
};

/// Turns a message into a document. A long text is written in slices, so that nobody waits for its end.
class BodyBuilder
{
public:
    static constexpr qsizetype kFirstLook = 200'000; ///< UTF-16 units of plain text

    BodyBuilder(const Message &message, const BodyOptions &options);

    /// Fills the empty @p document.
    void build(BodyDocument &document);

    const BodyStyle &style() const { return m_style; }
    const BodyFacts &facts() const { return m_facts; }

    /// Lines are still to come; writeMore() adds some and says whether others are left.
    bool isUnfinished() const { return !m_pending.isEmpty(); }
    bool writeMore();

    /// Puts the lines of a fold in its place. False: there is no such fold.
    bool unfold(BodyDocument &document, int id);
    /// The folds whose lines contain @p text, whatever its case.
    QList<int> foldsWith(const QString &text) const;
    /// The lines that a fold stands for.
    QString foldedText(int id) const;

private:
    struct Text
    {
        QList<TextLine> lines;
        QList<QuoteFold> folds;
        int firstFold = 0; ///< the id of folds[0]
    };
    struct Pending
    {
        QTextCursor at;
        int text;
        int next;
    };
    struct FoldPlace
    {
        const Text *text;
        const QuoteFold *fold;
    };

    void write(BodyWriter &writer, const BodySection &section);
    void writeText(BodyWriter &writer, int part);
    void writeHtml(BodyWriter &writer, int part);
    void writeImage(BodyWriter &writer, int part);
    void writePiece(BodyWriter &writer, int part);
    bool writeCards(BodyWriter &writer, int part);
    void writeEnclosed(BodyWriter &writer, int part);
    void addText(BodyWriter &writer, QStringView text, const PlainTextOptions &options);
    struct Amount
    {
        int lines;
        qsizetype letters;
    };
    int writeLines(BodyWriter &writer, const Text &text, int from, Amount most);
    QString textOf(int part, qsizetype most);
    void separate(BodyWriter &writer, int part, BodySection::Kind kind);
    void sanitizeAll();
    void settleAttachments();
    FoldPlace placeOf(int id) const;

    Message m_message;
    BodyOptions m_options;
    BodyStyle m_style;
    BodyPlan m_plan;
    BodyFacts m_facts;
    QHash<int, SafeHtml> m_html;
    QSet<QByteArray> m_shownIds; ///< Content-IDs of pictures that stand in the HTML
    QList<DataCard> m_cards;     ///< that are written: an invitation often comes twice
    QList<Text> m_texts;
    QList<Pending> m_pending;
    int m_folds = 0;
    qsizetype m_textLeft; ///< of the first look
    bool m_first = true;  ///< nothing is written yet where the next part goes
};
