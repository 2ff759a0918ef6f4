#pragma once

#include "ui/options/optionrow.h"

#include <QDialog>

class AskingBar;
class DialogFooter;
class OptionForm;
class PageList;
class QLabel;
class QPushButton;
class QStackedWidget;
class SearchField;

/// All that can be set, page by page, beside a list of the pages and a field that finds settings by their
/// words. Modeless; what was changed holds with OK or Apply and is written then, and only what was changed
/// here: a setting that another window changes meanwhile is shown as it is. It deletes itself when it is
/// closed.
class OptionsWindow : public QDialog
{
    Q_OBJECT

public:
    explicit OptionsWindow(QWidget *parent);

    void showPage(OptionPage page);
    OptionPage page() const;

    /// False: it could not be written, that was said, and the window stays.
    bool apply();

signals:
    /// Some settings have changed and are written: for windows that show what follows from them.
    void applied();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void createPages();
    QWidget *newSidebar();
    QWidget *newPane();
    void connectAll();
    OptionForm *form() const;
    OptionForm *formAt(int index) const;
    bool hasChanges() const;
    void search(const QString &typed);
    void goToHit();
    void turnPage(int by);
    void restoreDefaults();
    void changed();

    SearchField *m_search;
    PageList *m_pages;
    QLabel *m_nothing; ///< below the pages when nothing is found
    QLabel *m_title;
    AskingBar *m_bar;
    QStackedWidget *m_forms;
    DialogFooter *m_footer;
    QPushButton *m_apply;
    QPushButton *m_restore;
};

/// Opens the window over @p parent, or brings the open one to the front and leaves its page.
OptionsWindow *openOptions(QWidget *parent);

/// The same, on a page.
OptionsWindow *openOptions(QWidget *parent, OptionPage page);
