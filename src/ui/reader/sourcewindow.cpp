#include "ui/reader/sourcewindow.h"

#include "config/directory.h"
#include "config/reporter.h"
#include "ui/look/hairline.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/toolbuttons.h"
#include "ui/reader/attachmentfiles.h"

#include <QAction>
#include <QDir>
#include <QFileDialog>
#include <QKeyEvent>
#include <QToolBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

SourceWindow::SourceWindow(const QByteArray &text, const QString &subject, QWidget *parent,
                           const QString &fileName)
    : QWidget(parent, Qt::Window)
    , m_bytes(text)
    , m_fileName(fileName)
    , m_text(new SourceText(text, this))
{
    setObjectName(u"source"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(subject.isEmpty() ? tr("Source") : tr("Source of “%1”").arg(subject));
    auto *bar = newToolBar(this);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(bar);
    layout->addWidget(new HairLine(Qt::Horizontal, this));
    layout->addWidget(m_text, 1);
    resize(columnWidth(96), textHeight() * 36);
    setUpActions(bar);
    m_text->setFocus();
}

void SourceWindow::setUpActions(QToolBar *bar)
{
    const auto add = [this](const QString &text, const QString &icon, const QKeySequence &key, auto slot) {
        auto *action = new QAction(icon.isEmpty() ? QIcon() : ::icon(icon), text, this);
        action->setShortcut(key);
        connect(action, &QAction::triggered, this, slot);
        addAction(action);
        return action;
    };
    QAction *wrap = add(tr("&Wrap lines"), u"repeat"_s, Qt::CTRL | Qt::SHIFT | Qt::Key_L,
                        [this](bool on) { m_text->setWrapped(on); });
    wrap->setCheckable(true);
    wrap->setObjectName(u"wrap"_s);
    addToToolBar(bar, wrap, true);
    addToToolBar(bar, add(tr("&Find"), u"search"_s, QKeySequence::Find, [this] { m_text->find(); }), true);
    addToToolBar(bar, add(tr("&Save…"), u"save"_s, QKeySequence::Save, [this] { save(); }), true);
    add(tr("Find &next"), {}, Qt::Key_F3, [this] { m_text->findNext(); });
    add(tr("Find pre&vious"), {}, Qt::SHIFT | Qt::Key_F3, [this] { m_text->findPrevious(); });
    add(tr("&Close"), {}, Qt::CTRL | Qt::Key_W, [this] { close(); });
}

void SourceWindow::save()
{
    auto *dialog = new QFileDialog(this, tr("Save source"), documentsDirectory());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave); // asks before it replaces a file
    dialog->selectFile(m_fileName);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &path) {
        if (!writeWholeFile(path, m_bytes))
            report(this, ReportLevel::Warning, "Unable to write file '%s'", qUtf8Printable(path));
    });
    dialog->open();
}

void SourceWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape)
        return QWidget::keyPressEvent(event);
    close();
}
