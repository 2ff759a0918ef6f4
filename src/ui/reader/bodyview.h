#pragma once

#include <QTextBrowser>
#include <QTextCursor>

#include <functional>

class BodyDocument;
struct BodyStyle;

/// Shows a BodyDocument: paints its cards, hairlines and quote bars, follows no link by itself and loads
/// nothing that the document would not.
class BodyView : public QTextBrowser
{
    Q_OBJECT

public:
    explicit BodyView(QWidget *parent = nullptr);

    /// @p wrapWidth: pixels of a line at most, 0 for the width of the view.
    void showDocument(BodyDocument *document, const BodyStyle &style, int wrapWidth);

    /// What copying puts in the place of a fold.
    void setFoldText(std::function<QString(int)> foldText) { m_foldText = std::move(foldText); }

    /// The text between two positions as its writer wrote it, but for quotation marks.
    QString plainText(int from, int to) const;

    /// Holds the line at the top of the view where it is while the text above it changes.
    class Anchor
    {
    public:
        explicit Anchor(BodyView &view);
        ~Anchor();
        Q_DISABLE_COPY_MOVE(Anchor)

    private:
        BodyView &m_view;
        QTextCursor m_line;
        int m_top = 0;
        bool m_holds;
    };

    QVariant loadResource(int type, const QUrl &name) override;

signals:
    void linkClicked(const QString &target);
    /// Empty: no link is under the mouse or the keyboard any more.
    void linkHovered(const QString &target);
    void zoomRequested(int steps);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    QMimeData *createMimeDataFromSelection() const override;
    void doSetSource(const QUrl &name, QTextDocument::ResourceType type) override;

private:
    void paintCards(QPainter &painter, const QRectF &seen) const;
    void paintBlocks(QPainter &painter, const QRectF &seen) const;
    void paintBars(QPainter &painter, const QTextBlock &block) const;
    void setColours(const BodyStyle &style);
    void fitWidth(QTextDocument *document) const;
    void nameLink(const QString &target);
    QString linkText(const QPoint &position) const;
    QRectF seenRect(const QRect &rect) const;

    std::function<QString(int)> m_foldText;
    std::vector<QColor> m_bars; ///< by quote level - 1
    QColor m_rule;
    QString m_named; ///< the link that was told of last
    int m_wrapWidth = 0;
};
