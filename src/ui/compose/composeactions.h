#pragma once

#include "ui/actions/actionregistry.h"

#include <array>

class QMenu;

/// Everything that the compose window does, in the order of its menus.
enum class ComposeAct {
    // Message
    Send,
    SendLater,
    SaveDraft,
    History,
    Attach,
    Discard,
    Close,
    // Edit
    Undo,
    Redo,
    Cut,
    Copy,
    Paste,
    PastePlain,
    PasteQuoted,
    SelectAll,
    Rewrap,
    QuoteMore,
    QuoteLess,
    Find,
    FindNext,
    FindPrevious,
    Replace,
    // View
    ShowTo,
    ShowCc,
    ShowBcc,
    ShowReplyTo,
    ShowFollowupTo,
    ShowDistribution,
    MoreFields,
    NextPane,
    PreviousPane,
    // Insert
    InsertFile,
    InsertPicture,
    InsertSignature,
    InsertTemplate,
    // Format
    Rich,
    Bold,
    Italic,
    Underline,
    Colour,
    AlignLeft,
    AlignCentre,
    AlignRight,
    Justify,
    Bullets,
    Numbered,
    // Options
    ImportanceHigh,
    ImportanceLow,
    Receipt,
    RefuseArchive,
    Wrap,
    Charset,
    FileForm,
    UndoDelay,
    Warnings,
    // Help
    Palette,
    Keys,
};
constexpr int kComposeActCount = int(ComposeAct::Keys) + 1;

enum ComposeNeed : unsigned {
    ComposeNeedsUndo = 1u << 0,
    ComposeNeedsRedo = 1u << 1,
    ComposeNeedsRich = 1u << 2,
    ComposeNeedsPlain = 1u << 3,
    ComposeNeedsVersions = 1u << 4,
    ComposeNeedsArticle = 1u << 5,
};

class ComposeActions
{
public:
    explicit ComposeActions(ActionRegistry &registry);

    QAction *operator[](ComposeAct act) const { return m_actions[std::size_t(act)]; }

    /// What @p letter of a bar means; null for one that does not exist (yet).
    QAction *forLetter(char16_t letter, bool formatBar) const;

    /// Adds those between the two, in the order of the enum.
    void addTo(QMenu *menu, ComposeAct first, ComposeAct last) const;

private:
    std::array<QAction *, kComposeActCount> m_actions = {};
};
