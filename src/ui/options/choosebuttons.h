#pragma once

#include <QPushButton>

/// A button that shows what is chosen and whose menu leads back to "Automatic" or to a dialog.
class ChooseButton : public QPushButton
{
    Q_OBJECT

public:
    explicit ChooseButton(QWidget *parent = nullptr);

    /// The words of its menu, for a search.
    QString searched() const;

signals:
    void changed();

protected:
    virtual void takeAutomatic() = 0;
    virtual void choose() = 0;
};

/// A font as Qt describes it in a text.
class FontButton : public ChooseButton
{
    Q_OBJECT

public:
    explicit FontButton(const QString &automatic, QWidget *parent = nullptr);

    QString chosen() const { return m_font; }
    void setChosen(const QString &font);

protected:
    void takeAutomatic() override { setChosen(m_automatic); }
    void choose() override;

private:
    QString m_automatic;
    QString m_font;
};

/// A colour as a 24-bit integer, red in the highest byte, with a sample of it.
class ColourButton : public ChooseButton
{
    Q_OBJECT

public:
    explicit ColourButton(int automatic, QWidget *parent = nullptr);

    int chosen() const { return m_colour; }
    void setChosen(int colour);

protected:
    void takeAutomatic() override { setChosen(m_automatic); }
    void choose() override;

private:
    int m_automatic;
    int m_colour = 0;
};
