#include "ui/reader/cardpane.h"

#include "html/urls.h"
#include "message/message.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/reader/bodydocument.h"
#include "ui/reader/bodystyle.h"
#include "ui/reader/bodyview.h"
#include "ui/reader/bodywriter.h"

#include <QEvent>
#include <QTextFrame>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

CardPane::CardPane(const QList<DataCard> &cards, QWidget *parent)
    : QWidget(parent)
    , m_cards(cards)
    , m_view(new BodyView(this))
{
    setSurface(this, Role::Base);
    setFocusProxy(m_view);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    connect(m_view, &BodyView::linkClicked, this, [this](const QString &target) {
        if (const QString safe = safeTarget(target); !safe.isEmpty())
            emit linkActivated(safe);
    });
    write();
}

void CardPane::write()
{
    const BodyStyle style = bodyStyle(1);
    auto document = std::make_unique<BodyDocument>(Message());
    document->setDefaultFont(style.font);
    QTextFrameFormat margins = document->rootFrame()->frameFormat();
    margins.setMargin(space::card);
    document->rootFrame()->setFrameFormat(margins);
    BodyWriter writer(QTextCursor(document.get()), style, true);
    for (const DataCard &card : std::as_const(m_cards))
        writer.dataCard(card);
    m_view->showDocument(document.release(), style, 0);
}

void CardPane::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
        write();
}
