#include "engine/piecesearch.h"

#include "message/mimepartial.h"

#include <QElapsedTimer>

#include <utility>

namespace {

constexpr int kSlice = 6;                          ///< milliseconds
constexpr int kBetweenLooks = 16;                  ///< rows between two looks at the time
constexpr int kMostRead = 5'000;                   ///< messages of the sender that are looked into
constexpr qint64 kMostBytes = 256LL * 1024 * 1024; ///< of pieces: no message is larger

} // namespace

PieceSearch::PieceSearch(Group &group, QByteArray id, QString sender, Found found, QObject *parent)
    : QObject(parent)
    , m_timer(this)
    , m_group(&group)
    , m_id(std::move(id))
    , m_sender(std::move(sender))
    , m_found(std::move(found))
{
    connect(&m_timer, &QTimer::timeout, this, &PieceSearch::slice);
    m_timer.start(0);
}

/// The newest first: the others of a message came with it most likely.
void PieceSearch::slice()
{
    QElapsedTimer clock;
    clock.start();
    while (m_group && m_next < m_group->rowCount() && m_read < kMostRead && m_bytes < kMostBytes) {
        const Overview overview = m_group->row(m_group->rowCount() - 1 - m_next++);
        const int before = m_read;
        if (!overview.isDead() && m_group->texts(overview).from == m_sender)
            look(overview);
        if ((m_read > before || m_next % kBetweenLooks == 0) && clock.hasExpired(kSlice))
            return;
    }
    m_timer.stop();
    const Found found = std::exchange(m_found, {}); // who is told may send this away
    found(std::exchange(m_texts, {}));
}

void PieceSearch::look(const Overview &overview)
{
    ++m_read;
    const QByteArray text = m_group->readMessage(overview);
    const auto piece = MIMEPartial::describe(text);
    if (!piece || piece->id != m_id)
        return;
    m_bytes += text.size();
    m_texts.append(text);
}
