#pragma once

#include "html/tags.h"

#include <QByteArray>

#include <array>
#include <initializer_list>
#include <utility>
#include <vector>

/// Writes tags and text so that every element is closed where it ends and stands where it may: what browsers
/// mend in the tree (HTML 13.2.6) is mended in the text here, each tag in time bounded by the greatest depth.
/// What is deeper loses its tags.
class TagBalance
{
public:
    TagBalance();

    void tag(const Tag &tag);
    /// Text as written; a lone "<" becomes a reference.
    void text(QByteArrayView text);
    void open(Element element);
    void close(Element element);

    /// Bytes written so far, those of pictures in the text not counted.
    qsizetype size() const { return m_out.size() - m_free; }
    /// The whole document. The object is empty then.
    QByteArray finish();

private:
    struct Open
    {
        Element element;
        bool ended = false; ///< its end tag came while a block inside was open
        qsizetype tag = 0;  ///< where its start tag stands
        qsizetype tagLength = 0;
    };
    using Carried = std::vector<std::pair<Element, QByteArray>>; ///< with their start tags

    void start(const Tag &tag);
    void startTablePart(const Tag &tag);
    Carried endImplied(Element element);
    void end(Element element);
    bool needsCell() const;
    void makeCell();

    void push(Element element, const Tag *tag = nullptr);
    void writeTag(QByteArray &out, Element element, const Tag *tag);
    void writeAttribute(QByteArray &out, const Tag::Given &given);
    Carried popTo(std::size_t depth);
    void dropEnded();
    void carryOn(const Carried &carried);
    int nearestTable() const;
    int depthOf(std::initializer_list<Element> elements, int floor) const;

    QByteArray m_out;
    QByteArray m_body;
    qsizetype m_free = 0;
    std::vector<Open> m_open;
    std::array<int, kElements.size()> m_count = {};   ///< open ones, by element
    std::array<int, kElements.size()> m_skipped = {}; ///< start tags dropped for their depth, by element
    bool m_anySkipped = false;
    int m_carriedLeft;
};
