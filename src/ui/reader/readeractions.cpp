#include "ui/reader/readeractions.h"

#include "ui/reader/messageview.h"
#include "ui/reader/textcharset.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QMenu>

using namespace Qt::StringLiterals;

namespace {

/// Lets the widget with the focus do it; false: it has no such slot.
bool doneByFocus(const QWidget *window, const char *slot)
{
    QWidget *focus = QApplication::focusWidget();
    const QByteArray signature = QByteArray(slot) + "()";
    return focus && focus->window() == window &&
           focus->metaObject()->indexOfSlot(signature.constData()) >= 0 &&
           QMetaObject::invokeMethod(focus, slot);
}

} // namespace

ReaderActions::ReaderActions(ActionRegistry &registry)
    : QObject(&registry)
    , m_registry(registry)
    , m_charsets(new QMenu(registry.window()))
{
    for (int at = 0; at < kReaderActionCount; ++at) {
        const auto which = ReaderAction(at);
        QAction *action = registry.add(rowOf(which), "ReaderActions");
        m_actions[std::size_t(at)] = action;
        connect(action, &QAction::triggered, this, [this, which](bool checked) { trigger(which, checked); });
    }
    (*this)[ReaderAction::CharacterSet]->setMenu(m_charsets);
    connect(m_charsets, &QMenu::aboutToShow, this, &ReaderActions::fillCharsets);
    update();
}

void ReaderActions::setReader(MessageView *reader)
{
    if (m_reader)
        m_reader->disconnect(this);
    m_reader = reader;
    if (reader) {
        connect(reader, &MessageView::actionsChanged, this, &ReaderActions::update);
        connect(reader, &QObject::destroyed, this, [this] {
            m_reader.clear();
            update();
        });
    }
    update();
}

unsigned ReaderActions::have() const
{
    return m_reader ? m_reader->have() : 0;
}

QList<QAction *> ReaderActions::moreActions() const
{
    const ReaderActions &self = *this;
    return {self[ReaderAction::AllHeaders],
            self[ReaderAction::PlainText],
            self[ReaderAction::CharacterSet],
            self[ReaderAction::Source],
            self[ReaderAction::PartsTree],
            nullptr,
            self[ReaderAction::Find],
            nullptr,
            self[ReaderAction::ShowRemote],
            self[ReaderAction::TrustSender],
            nullptr,
            self[ReaderAction::SaveRaw],
            self[ReaderAction::SaveAttachments]};
}

void ReaderActions::trigger(ReaderAction which, bool checked)
{
    if (which == ReaderAction::Copy && doneByFocus(m_registry.window(), "copy"))
        return;
    if (which == ReaderAction::SelectAll && doneByFocus(m_registry.window(), "selectAll"))
        return;
    if (m_reader)
        m_reader->perform(which, checked);
}

void ReaderActions::update()
{
    for (int at = 0; at < kReaderActionCount; ++at) {
        QAction *action = m_actions[std::size_t(at)];
        action->setEnabled((rowOf(ReaderAction(at)).needs & ~have()) == 0);
        if (action->isCheckable())
            action->setChecked(m_reader && m_reader->isChecked(ReaderAction(at)));
    }
    emit haveChanged();
}

void ReaderActions::fillCharsets()
{
    m_charsets->clear();
    delete m_charsets->findChild<QActionGroup *>();
    auto *group = new QActionGroup(m_charsets);
    const auto add = [this, group](const QString &text, const QByteArray &charset) {
        QAction *action = group->addAction(m_charsets->addAction(text));
        action->setCheckable(true);
        action->setChecked(m_reader && m_reader->charset() == charset);
        connect(action, &QAction::triggered, this, [this, charset] {
            if (m_reader)
                m_reader->setCharset(charset);
        });
    };
    add(tr("As labelled"), {});
    m_charsets->addSeparator();
    for (const TextCharset &row : kTextCharsets)
        add(QCoreApplication::translate("TextCharset", row.text), row.name);
}
