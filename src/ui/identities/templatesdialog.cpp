#include "ui/identities/templatesdialog.h"

#include "identity/templates.h"
#include "ui/identities/freename.h"
#include "ui/identities/templateeditor.h"
#include "ui/texts/harmless.h"

#include <QListView>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kSummaryLength = 120;

/// How it begins.
QString summaryOf(const QString &name)
{
    return readTemplate(name).value_or(QString()).left(kSummaryLength).simplified();
}

} // namespace

TemplatesDialog::TemplatesDialog(const IdentityManager &identities, const Message &current, QWidget *parent)
    : ManagerDialog(tr("Templates"), parent)
    , m_identities(identities)
    , m_current(current)
{
    setObjectName(u"templatesDialog"_s);
    setEmpty(tr("No templates defined"), tr("A template is a text that a message begins with."),
             tr("New template…"));
    addUsualButtons({[this] { openEditor({}); }, [this] { openEditor(currentKey().toString()); },
                     [this] { copy(); }, [this] { askDelete(); }});
    fill();
    list()->setFocus();
}

void TemplatesDialog::fill()
{
    std::vector<ManagerRow> rows;
    for (const QString &name : templateNames())
        rows.push_back({name, u"template"_s, name, summaryOf(name)});
    setRows(rows);
}

TemplateEditor *TemplatesDialog::openEditor(const QString &name)
{
    auto *editor = new TemplateEditor(m_identities, m_current, name, this);
    connect(editor, &TemplateEditor::saved, this, [this](const QString &saved) {
        fill();
        select(saved);
        emit changed();
    });
    editor->open();
    return editor;
}

void TemplatesDialog::copy()
{
    const QString name = currentKey().toString();
    if (const auto text = readTemplate(name))
        openEditor({})->setTemplate(freeName(tr("Copy of %1").arg(name), templateNames()), *text);
}

void TemplatesDialog::askDelete()
{
    const QString name = currentKey().toString();
    if (name.isEmpty())
        return;
    askBeforeDelete(tr("Delete the template “%1”").arg(harmlessLine(name, 60)),
                    tr("Its text is lost. Messages that began with it stay as they are."),
                    tr("&Delete the template"), [this, name] {
                        if (!removeTemplate(name))
                            return;
                        fill();
                        emit changed();
                    });
}
