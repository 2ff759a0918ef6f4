#pragma once

#include "ui/reader/sourcetext.h"

#include <QWidget>

class QToolBar;

/// The text of a message, or of a part of it, as it is stored; with a bar to wrap it, to find words in it,
/// and to save it byte by byte.
class SourceWindow : public QWidget
{
    Q_OBJECT

public:
    static constexpr qsizetype kFirstLook = SourceText::kFirstLook;
    static constexpr qsizetype kLongestLine = SourceText::kLongestLine;

    /// @p fileName is proposed when the text is saved.
    SourceWindow(const QByteArray &text, const QString &subject, QWidget *parent,
                 const QString &fileName = QStringLiteral("Message.eml"));

    void showAll() { m_text->showAll(); }

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void setUpActions(QToolBar *bar);
    void save();

    QByteArray m_bytes;
    QString m_fileName;
    SourceText *m_text;
};
