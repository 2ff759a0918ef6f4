#pragma once

#include "ui/reader/messageimages.h"

#include <QTextDocument>

/// The document that a message is shown as. Whatever is in it, the only things it loads are pictures out of
/// the message itself: every picture, style sheet and background goes through its one loadResource.
class BodyDocument : public QTextDocument
{
    Q_OBJECT

public:
    explicit BodyDocument(const Message &message, QObject *parent = nullptr);

    MessageImages &images() { return m_images; }

protected:
    QVariant loadResource(int type, const QUrl &name) override;

private:
    MessageImages m_images;
};
