#pragma once

#include "message/message.h"
#include "ui/reader/remotecontent.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>

/// What has come from the net for one message.
struct RemoteFiles
{
    QHash<QString, QByteArray> here; ///< files by their address in the message
    QSet<QString> missing;           ///< asked for in vain

    /// Whether it is still to come, if it was asked for.
    bool isOpen(const QString &url) const { return !here.contains(url) && !missing.contains(url); }
};

/// The pictures on the net of the message that is shown: whether they may be shown, and how far they are.
/// What was allowed once ends with the message; nothing is asked for before show().
class RemotePictures : public QObject
{
    Q_OBJECT

public:
    explicit RemotePictures(QObject *parent = nullptr);
    ~RemotePictures() override;

    /// Where they come from, which must outlive this; null: from nowhere.
    void setContent(RemoteContent *content) { m_content = content; }

    /// Another message: what was under way is cancelled. @p doubtful: its sender is not to be believed.
    void setMessage(const Message &message, bool doubtful);

    RemoteContent::Availability availability() const;

    /// Whether they are shown, because the user said so or trusts the sender.
    bool isShown() const { return m_shown; }
    /// The address that "always" would stand for; empty when the message has not exactly one sender.
    const QString &sender() const { return m_sender; }

    void allowOnce() { m_shown = availability() == RemoteContent::Availability::Available; }
    void allowAlways();

    /// Asks for those of @p urls that were not asked for yet. Does nothing unless isShown().
    void show(const QStringList &urls);

    const std::shared_ptr<RemoteFiles> &files() const { return m_files; }

signals:
    /// Some have come or failed; several at a time.
    void arrived(const QStringList &urls);

private:
    RemoteContent *m_content = nullptr;
    std::unique_ptr<RemoteContent::Session> m_session;
    std::shared_ptr<RemoteFiles> m_files;
    QString m_sender;
    QSet<QString> m_asked;
    QStringList m_news;
    QTimer m_gather;
    bool m_shown = false;
};

/// The bare address of @p message's one sender in lower case; empty when From is missing, stands there twice,
/// names several or none that one could write to.
QString soleSender(const Message &message);

/// Whether the message itself says that a check of its sender failed (RFC 8601). Such a field proves nothing
/// when it says that all is well; nobody writes this about himself.
bool failedSenderCheck(const Message &message);
