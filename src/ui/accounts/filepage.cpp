#include "ui/accounts/filepage.h"

#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"

#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {
constexpr int kFieldWidth = 44; ///< characters
}

FilePage::FilePage(QWidget *parent)
    : QWidget(parent)
    , m_path(new QLineEdit)
{
    m_path->setObjectName(u"path"_s);
    m_path->setMinimumWidth(columnWidth(kFieldWidth));
    auto *words = new QLabel(
        tr("Velmar takes the mail out of this file each time it looks for new mail. The file need not "
           "exist yet; the program that fills it makes it."));
    words->setWordWrap(true);
    setTextRole(words, Role::Text2);
    auto *choose = newToolButton(u"folder"_s, tr("Choose a file"), this);
    auto *line = new QHBoxLayout;
    line->setSpacing(space::between);
    line->addWidget(m_path, 1);
    line->addWidget(choose);
    auto *label = new QLabel(tr("&File"));
    label->setBuddy(m_path);
    auto *form = new QFormLayout;
    form->setHorizontalSpacing(space::card);
    form->addRow(label, line);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(space::card);
    all->addWidget(words);
    all->addLayout(form);
    all->addStretch(1);
    connect(choose, &QToolButton::clicked, this, &FilePage::chooseFile);
    connect(m_path, &QLineEdit::textChanged, this, &FilePage::changed);
}

void FilePage::chooseFile()
{
    auto *files = new QFileDialog(this, tr("Mailbox file"));
    files->setAttribute(Qt::WA_DeleteOnClose);
    files->setFileMode(QFileDialog::AnyFile);
    connect(files, &QFileDialog::fileSelected, m_path, &QLineEdit::setText);
    files->open();
}

void FilePage::putInto(AccountDraft &draft) const
{
    draft.file = m_path->text().trimmed();
}

/// Only a whole path means the same file wherever the program was started.
bool FilePage::isComplete() const
{
    return QDir::isAbsolutePath(m_path->text().trimmed());
}

void FilePage::focusFirst()
{
    m_path->setFocus();
}
