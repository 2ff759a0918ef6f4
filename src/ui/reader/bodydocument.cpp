#include "ui/reader/bodydocument.h"

#include <QUrl>

BodyDocument::BodyDocument(const Message &message, QObject *parent)
    : QTextDocument(parent)
    , m_images(message)
{
    setUndoRedoEnabled(false);
    setDocumentMargin(0);
}

QVariant BodyDocument::loadResource(int type, const QUrl &name)
{
    if (type != ImageResource)
        return QByteArray(""); // valid and empty: nobody shall look for it elsewhere
    const QImage picture = m_images.image(name);
    addResource(type, name, picture); // decoded once, also what cannot be shown
    return picture;
}
