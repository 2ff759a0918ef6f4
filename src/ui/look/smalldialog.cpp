#include "ui/look/smalldialog.h"

#include "ui/look/colours.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

SmallDialog::SmallDialog(QWidget *parent, const QString &title, const QString &verb)
    : QDialog(parent)
    , m_contents(new QVBoxLayout)
    , m_problem(new QLabel)
    , m_footer(new DialogFooter(verb))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    auto *head = new QLabel(title);
    head->setTextFormat(Qt::PlainText);
    setFontScale(head, scale::subject, QFont::DemiBold);
    setTextRole(m_problem, Role::Error);
    m_problem->setTextFormat(Qt::PlainText);
    m_problem->setWordWrap(true);
    m_problem->hide();
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->setSpacing(space::group);
    page->addWidget(head);
    page->addLayout(m_contents, 1);
    page->addWidget(m_problem);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(m_footer);
    connect(m_footer, &DialogFooter::accepted, this, &QDialog::accept);
    connect(m_footer, &DialogFooter::rejected, this, &QDialog::reject);
}

void SmallDialog::setProblem(const QString &problem)
{
    m_problem->setText(problem);
    m_problem->setVisible(!problem.isEmpty());
    m_footer->defaultButton()->setEnabled(problem.isEmpty());
}
