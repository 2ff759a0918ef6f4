#pragma once

class ActionRegistry;
class QDialog;

/// Every action that has keys, by the menu it belongs to, with a field that narrows the list while one types.
/// Opens without an event loop of its own, deletes itself when closed.
QDialog *showKeyHelp(const ActionRegistry &registry);
