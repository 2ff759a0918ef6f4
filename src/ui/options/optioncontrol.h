#pragma once

#include "ui/options/optionrow.h"

#include <QWidget>

#include <functional>

class HitCheckBox;
class HitLabel;
class QHBoxLayout;
class QVBoxLayout;

/// The control of one row, with its unit, its preview and its hint. It changes nothing but itself.
class OptionControl : public QWidget
{
    Q_OBJECT

public:
    explicit OptionControl(const OptionRow &row, QWidget *parent = nullptr);

    const OptionRow &row() const { return m_row; }

    QVariant value() const { return m_value(); }
    void setValue(const QVariant &value);

    /// The widget that takes the keyboard.
    QWidget *field() const { return m_field; }

    /// Marks @p words in the texts. True when one of them stands there.
    bool setHits(const QStringList &words);

    /// Every text that a search looks at, those of the choices included.
    QString searched() const;
    /// Whether that is the key of the settings file, which is found only when it is given whole.
    bool isKey(const QStringList &words) const;

signals:
    void changed();

private:
    void createCheck();
    void createNumber();
    void createLine();
    void createChoice();
    void createFont();
    void createColour();
    void addField(QWidget *field);
    void addBelow();

    using Create = void (OptionControl::*)();
    static const Create s_create[];

    const OptionRow &m_row;
    QVBoxLayout *m_all;
    QHBoxLayout *m_line;
    QWidget *m_field = nullptr;
    HitCheckBox *m_box = nullptr;
    QList<HitLabel *> m_words; ///< unit and hint
    QString m_choices;         ///< all of their texts
    std::function<QVariant()> m_value;
    std::function<void(const QVariant &)> m_show;
};
