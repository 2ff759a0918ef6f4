#include "ui/look/emptystate.h"

#include "ui/look/metrics.h"
#include "ui/look/recolour.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

EmptyState::EmptyState(QWidget *parent)
    : QWidget(parent)
    , m_title(new QLabel(this))
    , m_sentence(new QLabel(this))
    , m_button(new QPushButton(this))
{
    setFontScale(m_title, scale::subject, QFont::DemiBold);
    setTextRole(m_sentence, Role::Text2);
    for (QLabel *label : {m_title, m_sentence}) {
        label->setAlignment(Qt::AlignCenter);
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
    }
    m_button->setAutoDefault(false);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(space::page, space::page, space::page, space::page);
    layout->setSpacing(space::between);
    layout->addStretch(2);
    layout->addWidget(m_title);
    layout->addWidget(m_sentence);
    layout->addSpacing(space::between);
    layout->addWidget(m_button, 0, Qt::AlignHCenter);
    layout->addStretch(3);
    setTexts({}, {});
    connect(m_button, &QPushButton::clicked, this, &EmptyState::buttonClicked);
}

void EmptyState::setTexts(const QString &title, const QString &sentence, const QString &button)
{
    m_title->setText(title);
    m_title->setVisible(!title.isEmpty());
    m_sentence->setText(sentence);
    m_sentence->setVisible(!sentence.isEmpty());
    m_button->setText(button);
    m_button->setVisible(!button.isEmpty());
}
