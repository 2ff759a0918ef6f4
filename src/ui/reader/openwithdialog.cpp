#include "ui/reader/openwithdialog.h"

#include "ui/look/dialogfooter.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QLabel *newLine(const QString &text, Role role, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    setTextRole(label, role);
    return label;
}

} // namespace

OpenWithDialog::OpenWithDialog(const QString &fileName, const QByteArray &contentType, const QString &warning,
                               QWidget *parent)
    : QDialog(parent)
    , m_type(contentType)
    , m_list(new QListWidget(this))
    , m_footer(new DialogFooter(tr("Open"), this))
{
    setObjectName(u"openWith"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Open with"));
    m_list->setObjectName(u"programs"_s);
    m_list->setAccessibleName(tr("Programs"));
    m_list->setUniformItemSizes(true);
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->setSpacing(space::group);
    page->addWidget(newLine(tr("Which program is to open “%1”?").arg(fileName), Role::Text, this));
    if (!warning.isEmpty())
        page->addWidget(newLine(warning, Role::Warning, this));
    page->addWidget(m_list, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(page, 1);
    layout->addWidget(m_footer);
    resize(columnWidth(52), textHeight() * 20);
    QPushButton *other = m_footer->addSecondary(tr("Other program…"));
    other->setObjectName(u"otherProgram"_s);
    connect(other, &QPushButton::clicked, this, &OpenWithDialog::chooseOther);
    connect(m_footer, &DialogFooter::accepted, this, &OpenWithDialog::acceptCurrent);
    connect(m_footer, &DialogFooter::rejected, this, &QDialog::reject);
    connect(m_list, &QListWidget::itemDoubleClicked, this, &OpenWithDialog::acceptCurrent);
    fill();
    m_list->setFocus();
}

void OpenWithDialog::fill()
{
    QList<DesktopApplication> known = applicationsFor(m_type);
    const QStringList before = openedBefore(m_type);
    for (const QString &id : before) {
        const auto found = std::find_if(known.begin(), known.end(),
                                        [&](const DesktopApplication &one) { return one.id == id; });
        if (found != known.end())
            add(known.takeAt(found - known.begin()));
        else if (QFileInfo(id).isAbsolute() && QFileInfo(id).isExecutable())
            add(applicationAt(id));
    }
    for (const DesktopApplication &application : std::as_const(known))
        add(application);
    if (m_applications.isEmpty()) {
        auto *hint = new QListWidgetItem(tr("The desktop knows no program for this type."), m_list);
        hint->setFlags(Qt::NoItemFlags);
    }
    m_list->setCurrentRow(0);
    m_footer->defaultButton()->setEnabled(!m_applications.isEmpty());
}

void OpenWithDialog::add(const DesktopApplication &application)
{
    const QIcon own = application.icon.isEmpty() ? QIcon() : QIcon::fromTheme(application.icon);
    new QListWidgetItem(own.isNull() ? icon(u"open"_s) : own, application.name, m_list);
    m_applications.append(application);
}

void OpenWithDialog::acceptCurrent()
{
    const int row = m_list->currentRow();
    if (row < 0 || row >= m_applications.size())
        return;
    emit chosen(m_applications[row]);
    accept();
}

void OpenWithDialog::chooseOther()
{
    auto *dialog = new QFileDialog(this, tr("Other program"), u"/usr/bin"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &path) {
        if (!QFileInfo(path).isFile() || !QFileInfo(path).isExecutable())
            return;
        emit chosen(applicationAt(path));
        accept();
    });
    dialog->open();
}
