#include "ui/main/countdownbars.h"

#include "ui/look/askingbar.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/main/outboxcommands.h"

#include <QLocale>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {
constexpr std::size_t kMostBars = 3; ///< so that no pane loses its room to them
}

CountdownBars::CountdownBars(OutboxCommands &outbox, QWidget *parent)
    : QWidget(parent)
    , m_outbox(outbox)
    , m_rest(new AskingBar(this))
{
    setObjectName(u"countdowns"_s);
    setSurface(this, Role::Chrome);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(space::between, space::inner, space::between, space::inner);
    layout->setSpacing(space::inner);
    layout->addWidget(m_rest);
    connect(&outbox, &OutboxCommands::changed, this, &CountdownBars::refresh);
    refresh();
}

void CountdownBars::refresh()
{
    std::vector<MessageRef> places = m_outbox.countingDown();
    const std::size_t older = places.size() > kMostBars ? places.size() - kMostBars : 0;
    places.erase(places.begin(), places.begin() + qptrdiff(older));
    std::erase_if(m_bars, [&places](const auto &each) {
        const bool isOver = std::find(places.begin(), places.end(), each.first) == places.end();
        if (isOver)
            each.second->deleteLater();
        return isOver;
    });
    for (const MessageRef place : places) {
        if (const auto found = m_bars.find(place); found != m_bars.end())
            found->second->changeText(m_outbox.countdownOf(place));
        else
            m_bars[place] = newBar(place);
    }
    showRest(int(older));
    const bool any =
        std::any_of(m_bars.begin(), m_bars.end(), [](const auto &each) { return !each.second->isHidden(); });
    setVisible(any || older > 0);
}

AskingBar *CountdownBars::newBar(MessageRef place)
{
    auto *bar = new AskingBar(this);
    static_cast<QVBoxLayout *>(layout())->insertWidget(0, bar); // the last one on top
    bar->ask(MessageBar::Kind::Information, m_outbox.countdownOf(place),
             {tr("Undo"), [this, place] { m_outbox.takeBack(place); }},
             {tr("Send now"), [this, place] { m_outbox.sendNow(place); }});
    connect(bar, &MessageBar::closed, this, &CountdownBars::refresh); // it goes all the same
    return bar;
}

void CountdownBars::showRest(int count)
{
    if (count == 0)
        return m_rest->hide();
    const QString text = count == 1
                             ? tr("1 more message is about to be sent.")
                             : tr("%1 more messages are about to be sent.").arg(QLocale().toString(count));
    if (!m_rest->isVisible() || m_rest->text() != text)
        m_rest->ask(MessageBar::Kind::Information, text,
                    {tr("Show the outbox"), [this] { emit outboxWanted(); }});
}
