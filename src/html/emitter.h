#pragma once

#include "html/prescan.h"
#include "html/sanitizer.h"
#include "html/stylesheet.h"
#include "html/tableplan.h"

#include <QSet>

#include <vector>

/// Writes the tree of a message as safe HTML, element by element.
class Emitter
{
public:
    Emitter(const HtmlOptions &options, const TablePlan &plan, StyleSheet &sheet);

    /// Goes into the result; false: nothing of what is inside is to be shown.
    bool enter(const GumboNode *node);
    void leave(const GumboNode *node);
    SafeHtml finish(const Prescan &scanned);

private:
    /// What holds inside an element.
    struct Context
    {
        double fontSize = 14;
        std::optional<Colour> colour; ///< asked for
        std::optional<Colour> shown;  ///< that is in force; without one that of the text, or of links
        std::optional<Colour> ground; ///< behind the text
        bool link = false;
        double shrink = 1; ///< of widths, where the whole is too wide
        QString family;
        int weight = 400;
        bool italic = false;
        bool hidden = false; ///< visibility
        bool unseen = false; ///< letters of no size
        bool verbatim = false;
        int tables = 0; ///< kept ones, and boxes, around
        int boxes = 0;
        int lists = 0;
        double indent = 0;
        double tableWidth = 0; ///< of the table whose cells come here, when it is given
        double cellWidths = 0; ///< of a table as wide as there is room: what its cells ask for together
        bool rows = false;     ///< between the cells of a table that is kept
    };
    struct Frame
    {
        Context context;
        QString closing;
        qsizetype linkText = -1; ///< a link: where the text it shows begins
        QString target;
    };

    bool openElement(const GumboNode *node, GumboTag tag);
    bool openInline(const GumboNode *node, QStringView name, const Style &style);
    bool openBlock(const GumboNode *node, QStringView name, const Style &style);
    bool openBox(const GumboNode *node, const Style &style);
    bool openLink(const GumboNode *node, const Style &style);
    bool openList(const GumboNode *node, QStringView name, const Style &style);
    bool openTable(const GumboNode *node, const Style &style);
    void openFrame(const Style &style, const QString &place, const QString &margins);
    bool openCell(const GumboNode *node, GumboTag tag, const Style &style);
    bool openBody(const GumboNode *node, const Style &style);
    void image(const GumboNode *node, const Style &style);
    bool isPictureToLookAt(const Style &style, const QString &address);
    void noteHidden(const GumboNode *node);
    void addTracker(const QString &address);
    void placeholder(const GumboNode *node);
    void input(const GumboNode *node);
    void text(QStringView text);

    void colourText(const Style &style, QString &css);
    double fitted(double width);
    void giveWidth(QString &out, const Style &style);
    Style styleOf(const GumboNode *node, GumboTag tag);
    void attributeStyle(const GumboNode *node, GumboTag tag, Style &style) const;
    bool wantsBox(const GumboNode *node, const Style &style) const;
    QString textStyle(const Style &style);
    QString blockStyle(const Style &style, bool boxed);
    QString boxStyle(const Style &style) const;
    void open(QStringView name, const QString &attributes, const QString &style);
    Context &context() { return m_frames.back().context; }

    HtmlOptions m_options;
    const TablePlan &m_plan;
    StyleSheet &m_sheet;
    std::vector<Frame> m_frames;
    SafeHtml m_result;
    QString m_shown; ///< the text alone, for what links show
    QSet<QString> m_listed;
    qsizetype m_pictures = 0; ///< characters of pictures in the text itself
    int m_longestWord;        ///< letters without a place to break
    int m_boxesLeft;
    int m_blocksLeft;
    int m_itemsLeft;
    int m_picturesLeft;
    int m_word = 0;    ///< characters since the last place to break a line
    int m_accents = 0; ///< on the letter that stands last
};
