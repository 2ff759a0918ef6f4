#pragma once

#include "message/address.h"

#include <QObject>

#include <functional>

class QMenu;
class QPoint;
class QWidget;

/// What one can do with a person of a message: a menu of rows, the same wherever the person is shown.
class PersonActions : public QObject
{
    Q_OBJECT

public:
    /// Adds rows behind those of the reader; called each time the menu opens.
    using Extension = std::function<void(QMenu *menu, const Address &person)>;

    explicit PersonActions(QObject *parent);

    void setExtension(Extension extension) { m_extension = std::move(extension); }

    /// Opens the menu below @p parent's place @p globalPosition, ready for the arrow keys. Nothing for
    /// someone without an address.
    void popup(const Address &person, QWidget *parent, const QPoint &globalPosition);

signals:
    /// @p target is "mailto:" with one address, percent-encoded.
    void composeWanted(const QString &target);
    /// Mail from this address is to be found.
    void findFromWanted(const QString &address);

private:
    Extension m_extension;
};

/// Name and address of a person as a tool tip.
QString personToolTip(const Address &person);
