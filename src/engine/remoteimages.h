#pragma once

#include "net/web/webaccess.h"
#include "net/web/webproblem.h"

#include <QCache>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <vector>

class RemoteImages;
class WebRequest;

/// What the pictures of one message may cost. Made by whoever shows the message, shared by its requests.
struct RemoteImageBudget
{
    int pictures = 200;                ///< that may still be asked for
    qint64 bytes = 50LL * 1024 * 1024; ///< that may still come over the net for them
};

/// One picture that was asked for. Belongs to its parent or to whoever asked; destroying it cancels.
class RemoteImageRequest : public QObject
{
    Q_OBJECT

public:
    ~RemoteImageRequest() override;

    QUrl url() const { return m_url; }
    bool isFinished() const { return m_finished; }

    /// The file of the picture, a PNG, JPEG, GIF, WebP or BMP by its first bytes; empty until it is there,
    /// and when it could not be had.
    QByteArray bytes() const { return m_bytes; }

    /// Why it could not be had, for people; empty while all is well.
    QString problem() const { return m_problem; }

    /// Gives it up: nothing more comes of it, finished() included. Its connection is closed unless another
    /// request waits for the same picture.
    void cancel();

signals:
    /// Once, from the event loop, never from inside fetch(); bytes() or problem() says how it ended. The
    /// request may be destroyed by whoever listens.
    void finished();

private:
    friend class RemoteImages;
    RemoteImageRequest(QUrl url, std::shared_ptr<RemoteImageBudget> budget, QObject *parent);
    void finish(const QByteArray &bytes, WebProblem problem);
    void finishLater(const QByteArray &bytes, WebProblem problem);

    QUrl m_url;
    std::shared_ptr<RemoteImageBudget> m_budget;
    QPointer<RemoteImages> m_images; ///< while it waits
    QByteArray m_bytes;
    QString m_problem;
    bool m_finished = false;
};

/// The pictures that messages refer to on the web, fetched for those whom the user allowed to. Nothing is
/// looked up, connected to or sent before fetch() is called, and nothing is ever kept on the disk.
///
/// Obeyed are `DisableImageFetches`, the state of the network, `WebProxy` and `WebProxyPort`,
/// `ImageFetchConcurrency` (1 to 16) and `ImageCacheSize` (megabytes of memory, 0 for none).
class RemoteImages : public QObject
{
    Q_OBJECT

public:
    explicit RemoteImages(QObject *parent = nullptr); ///< with WebAccess::toTheWorld(), once it is needed
    explicit RemoteImages(WebAccess access, QObject *parent = nullptr);
    ~RemoteImages() override;

    enum class Availability {
        Available,
        Disabled, ///< by `DisableImageFetches`: not even when asked
        Offline,
    };
    static Availability availability();

    /// Whether @p url is one that fetch() would try: http or https, to a host that may be on the net.
    /// Asks nobody.
    static bool isFetchable(const QUrl &url);

    /// Asks for a picture. One that is in memory, or cannot be had at all, finishes at the next turn of the
    /// event loop; equal ones share one connection. What it costs is charged to @p budget.
    RemoteImageRequest *fetch(const QUrl &url, const std::shared_ptr<RemoteImageBudget> &budget,
                              QObject *parent = nullptr);

    int running() const { return m_running; } ///< connections at the moment
    void clearCache() { m_cache.clear(); }

private:
    friend class RemoteImageRequest;
    using Waiting = std::vector<QPointer<RemoteImageRequest>>;
    struct Flight
    {
        WebRequest *request = nullptr; ///< null while it waits for its turn
        Waiting waiting;
    };

    WebAccess &access();
    WebProblem refusalOf(const QUrl &url, const RemoteImageBudget &budget) const;
    void join(const QByteArray &key, RemoteImageRequest *request);
    void leave(RemoteImageRequest *request);
    void startSoon();
    void startWhatMay();
    void start(const QByteArray &key, Flight &flight);
    void charge(const QByteArray &key, qint64 bytes);
    void land(const QByteArray &key, const QByteArray &bytes, WebProblem problem);
    Flight takeFlight(const QByteArray &key);

    std::optional<WebAccess> m_access;
    std::map<QByteArray, Flight> m_flights; ///< by the URL without its fragment
    std::deque<QByteArray> m_queue;         ///< flights that have not begun, the oldest first
    int m_running = 0;
    QCache<QByteArray, QByteArray> m_cache; ///< cost in bytes
};
