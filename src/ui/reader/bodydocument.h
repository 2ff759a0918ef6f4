#pragma once

#include "ui/reader/messageimages.h"

#include <QHash>
#include <QTextDocument>

struct RemoteFiles;

/// The document that a message is shown as. Whatever is in it, the only things it loads are pictures out of
/// the message itself: every picture, style sheet and background goes through its one loadResource. Pictures
/// on the net are those that somebody else has put into the RemoteFiles.
class BodyDocument : public QTextDocument
{
    Q_OBJECT

public:
    explicit BodyDocument(const Message &message, std::shared_ptr<const RemoteFiles> remote = {},
                          QObject *parent = nullptr);

    MessageImages &images() { return m_images; }

    struct Picture
    {
        enum State { Here, Waiting, Missing };
        State state = Missing;
        QImage image; ///< null unless here
    };
    /// The picture of that name, decoded once.
    const Picture &picture(const QString &name);

    /// Shows what has become of pictures on the net; those that cannot be had leave their words.
    void update(const QStringList &urls);

    /// Puts words into the place of each picture that cannot be had.
    void replaceMissing();

protected:
    QVariant loadResource(int type, const QUrl &name) override;

private:
    MessageImages m_images;
    std::shared_ptr<const RemoteFiles> m_remote;
    QHash<QString, Picture> m_pictures;
};
