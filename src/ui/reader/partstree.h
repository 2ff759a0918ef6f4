#pragma once

#include "message/message.h"

#include <QWidget>

class AskingBar;
class PartsModel;
class QAction;
class QTreeView;

/// Every part of a message as it is built, with what the parts say of themselves; each can be looked at,
/// saved decoded, and seen and saved as it stands in the message.
class PartsTree : public QWidget
{
    Q_OBJECT

public:
    PartsTree(const Message &message, QWidget *parent);

    /// The part that is chosen; -1 for the message itself.
    int currentPart() const;
    void setCurrentPart(int part);

    /// The bytes as they stand in the message: header lines, an empty one, content.
    static QByteArray rawPart(const Message &message, int part);

signals:
    void messageWanted(const Message &message);
    void linkActivated(const QString &target);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void build();
    void refreshActions();
    void preview();
    void showRaw();
    void save(bool raw);
    void write(int part, bool raw, const QString &path);

    Message m_message;
    PartsModel *m_model;
    QTreeView *m_view;
    AskingBar *m_bar;
    QAction *m_preview = nullptr;
    QAction *m_save = nullptr;
};
