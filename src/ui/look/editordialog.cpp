#include "ui/look/editordialog.h"

#include "ui/look/dialogfooter.h"
#include "ui/look/hairline.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/wheel.h"

#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 96; ///< characters
constexpr int kHeight = 38;

QWidget *withMargins(QWidget *notice)
{
    auto *room = new QWidget;
    auto *layout = new QVBoxLayout(room);
    layout->setContentsMargins(space::page, 0, space::page, space::group);
    layout->addWidget(notice);
    return room;
}

} // namespace

EditorDialog::EditorDialog(QWidget *parent)
    : QDialog(parent)
    , m_title(new QLabel)
    , m_beside(new QLabel)
    , m_footer(new DialogFooter(tr("OK")))
    , m_apply(m_footer->addButton(tr("Apply")))
{
    setAttribute(Qt::WA_DeleteOnClose);
    m_footer->defaultButton()->setObjectName(u"ok"_s);
    m_apply->setObjectName(u"apply"_s);
    connect(m_apply, &QPushButton::clicked, this, [this] { apply(); });
    connect(m_footer, &DialogFooter::rejected, this, &QDialog::reject);
    connect(m_footer, &DialogFooter::accepted, this, [this] {
        if (apply())
            accept();
    });
}

void EditorDialog::build(QWidget *form, QWidget *notice)
{
    auto *scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(form);
    keepFromWheel(form);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(newHead());
    if (notice)
        all->addWidget(withMargins(notice));
    all->addWidget(new HairLine(Qt::Horizontal, this));
    all->addWidget(scroll, 1);
    all->addWidget(m_footer);
    resize(columnWidth(kWidth), textHeight() * kHeight);
    setChanged(false);
}

QWidget *EditorDialog::newHead()
{
    auto *head = new QWidget;
    setFontScale(m_title, scale::dialog, QFont::DemiBold);
    setTextRole(m_beside, Role::Text2);
    auto *layout = new QHBoxLayout(head);
    layout->setContentsMargins(space::page, space::dialog, space::page, space::group);
    layout->setSpacing(space::group);
    for (QLabel *label : {m_title, m_beside}) {
        label->setTextFormat(Qt::PlainText);
        layout->addWidget(label, 0, label == m_title ? Qt::Alignment() : Qt::AlignBottom);
    }
    layout->addStretch(1);
    return head;
}

void EditorDialog::showHead(const QString &title, const QString &beside)
{
    m_title->setText(title);
    m_beside->setText(beside);
}

void EditorDialog::setChanged(bool isChanged)
{
    m_apply->setEnabled(isChanged);
}
