#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QStringList>

/// Found words, marked where they are shown.

/// @p typed as words, each of which is to be found.
QStringList wordsOf(const QString &typed);

/// Whether @p text holds all of @p words, in any case and order; false without words.
bool holdsAll(const QString &text, const QStringList &words);

/// A text that marks the words in it behind its letters. The "&" of a mnemonic is no part of the text. Beside
/// its buddy it is as high, so that both stand on one line.
class HitLabel : public QLabel
{
    Q_OBJECT

public:
    explicit HitLabel(const QString &text = {}, QWidget *parent = nullptr);

    void setHits(const QStringList &words);
    QStringList hits() const { return m_hits; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QStringList m_hits;
};

/// The same for a box to tick.
class HitCheckBox : public QCheckBox
{
    Q_OBJECT

public:
    explicit HitCheckBox(const QString &text, QWidget *parent = nullptr);

    void setHits(const QStringList &words);
    QStringList hits() const { return m_hits; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QStringList m_hits;
};
