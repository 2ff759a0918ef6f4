#include "ui/accounts/certificatedialog.h"

#include "ui/look/dialogfooter.h"
#include "ui/look/fixedfont.h"
#include "ui/look/metrics.h"
#include "ui/look/panel.h"
#include "ui/look/recolour.h"
#include "ui/look/signlabel.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"

#include <QDateTime>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 96; ///< characters
constexpr int kGroup = 4;  ///< digits of a fingerprint together
constexpr int kGroupsInLine = 4;
constexpr qsizetype kMostNames = 6;

struct ProblemRow
{
    CertificateProblemCode code;
    const char *words;
};
constexpr std::array kProblems = {
    ProblemRow{CertificateProblemCode::SelfSigned,
               QT_TRANSLATE_NOOP("CertificateDialog",
                                 "Nobody but the server itself vouches for it. That is usual on a server of "
                                 "your own, and nowhere else.")},
    ProblemRow{CertificateProblemCode::HostName,
               QT_TRANSLATE_NOOP("CertificateDialog", "It was made for another server than the one of this "
                                                      "account.")},
    ProblemRow{CertificateProblemCode::Expired,
               QT_TRANSLATE_NOOP("CertificateDialog",
                                 "Its time is over. Either the provider has forgotten to "
                                 "renew it, or the clock of this computer is wrong.")},
    ProblemRow{CertificateProblemCode::NotYetValid,
               QT_TRANSLATE_NOOP("CertificateDialog", "Its time has not begun. Most likely the clock of this "
                                                      "computer is wrong.")},
    ProblemRow{CertificateProblemCode::NotVerified,
               QT_TRANSLATE_NOOP("CertificateDialog", "Nobody whom this computer trusts vouches for it.")},
};

QLabel *plainLabel(const QString &text, bool wrapped = true)
{
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(wrapped);
    return label;
}

QString dayOf(qint64 seconds)
{
    return dayText(QDateTime::fromSecsSinceEpoch(seconds).date(), true);
}

QString validity(const CertificateInfo &certificate)
{
    return QObject::tr("%1 to %2").arg(dayOf(certificate.validFrom), dayOf(certificate.validUntil));
}

QString hostsOf(const CertificateInfo &certificate)
{
    QString hosts =
        QStringList(certificate.names.first(qMin(certificate.names.size(), kMostNames))).join(u", "_s);
    if (certificate.names.size() > kMostNames)
        hosts += QObject::tr(" and %1 more").arg(certificate.names.size() - kMostNames);
    return hosts;
}

struct Fact
{
    QString label;
    QString (*text)(const CertificateInfo &);
    bool isFixed = false;
};

QList<Fact> facts()
{
    return {
        {QObject::tr("Name"), [](const CertificateInfo &of) { return of.commonName; }},
        {QObject::tr("For"), hostsOf},
        {QObject::tr("Issued by"), [](const CertificateInfo &of) { return of.issuer; }},
        {QObject::tr("Valid"), validity},
        {QObject::tr("Fingerprint"), [](const CertificateInfo &of) { return groupedFingerprint(of.sha256); },
         true},
    };
}

QLabel *factLabel(const Fact &fact, const CertificateInfo &certificate)
{
    const QString text = fact.text(certificate);
    QLabel *label = plainLabel(fact.isFixed ? text : harmlessLine(text));
    if (label->text().isEmpty())
        label->setText(QObject::tr("not known"));
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    if (fact.isFixed)
        setFixedFont(label);
    return label;
}

} // namespace

void fitHeight(QDialog &dialog)
{
    dialog.ensurePolished();
    const int width = std::max(dialog.minimumWidth(), dialog.minimumSizeHint().width());
    const int height = dialog.layout()->totalHeightForWidth(width);
    dialog.setMinimumHeight(height);
    dialog.resize(width, height);
}

QString problemWords(const CertificateProblem &problem)
{
    for (const ProblemRow &row : kProblems)
        if (row.code == problem.code)
            return QCoreApplication::translate("CertificateDialog", row.words);
    return problem.text;
}

QString groupedFingerprint(const QByteArray &sha256)
{
    QStringList lines;
    const QString digits = QString::fromLatin1(sha256).toUpper();
    constexpr int line = kGroup * kGroupsInLine;
    for (qsizetype at = 0; at < digits.size(); at += line) {
        QStringList groups;
        for (qsizetype i = at; i < qMin(at + line, digits.size()); i += kGroup)
            groups.append(digits.mid(i, kGroup));
        lines.append(groups.join(u' '));
    }
    return lines.join(u'\n');
}

CertificateDialog::CertificateDialog(const CertificateQuestion &question, QWidget *parent)
    : QDialog(parent)
{
    setObjectName(u"certificateDialog"_s);
    setWindowTitle(u"Velmar"_s);
    const QString host = harmlessLine(question.found.host);
    auto *title = plainLabel(question.known ? tr("The certificate of %1 has changed").arg(host)
                                            : tr("Is this really %1?").arg(host));
    title->setObjectName(u"title"_s);
    setFontScale(title, scale::subject, QFont::DemiBold);
    auto *words = plainLabel(tr("The server of the account “%1” has shown a certificate that Velmar cannot "
                                "trust by itself. Nothing "
                                "has been sent to it, and no password goes there unless you accept it.")
                                 .arg(harmlessLine(question.accountName)));
    auto *head = new QHBoxLayout;
    head->setSpacing(space::card);
    head->addWidget(new SignLabel(u"shield"_s, Role::Warning, IconUse::DialogHead), 0, Qt::AlignTop);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(space::between);
    texts->addWidget(title);
    texts->addWidget(words);
    head->addLayout(texts, 1);
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->setSpacing(space::card);
    page->addLayout(head);
    addProblems(page, question.found);
    page->addWidget(newFacts(question));
    auto *advice = plainLabel(tr("Refuse if you are not sure. Accept only if the fingerprint is the one that "
                                 "the people who run the server have told you."));
    setTextRole(advice, Role::Text2);
    page->addWidget(advice);
    page->addStretch(1);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(newFooter());
    setAccessibleDescription(words->text());
    setMinimumWidth(columnWidth(kWidth));
    fitHeight(*this);
}

void CertificateDialog::addProblems(QVBoxLayout *page, const CertificateReport &report)
{
    auto *panel = new Panel(Role::WarningBar);
    panel->setObjectName(u"problems"_s);
    auto *grid = new QGridLayout(panel);
    grid->setContentsMargins(space::card, space::group, space::card, space::group);
    grid->setHorizontalSpacing(space::group);
    grid->setVerticalSpacing(space::inner);
    grid->setColumnStretch(1, 1);
    for (const CertificateProblem &problem : report.problems) {
        const int row = grid->rowCount() + 1;
        grid->setRowMinimumHeight(row - 1, row > 2 ? int(space::inner) : 0); // between two of them
        auto *text = plainLabel(harmlessLine(problem.text));
        setFontScale(text, 1, QFont::DemiBold);
        grid->addWidget(new SignLabel(u"warning"_s, Role::Warning, IconUse::Row), row, 0, Qt::AlignTop);
        grid->addWidget(text, row, 1);
        grid->addWidget(plainLabel(problemWords(problem)), row + 1, 1);
    }
    panel->setVisible(!report.problems.empty());
    page->addWidget(panel);
}

QWidget *CertificateDialog::newFacts(const CertificateQuestion &question)
{
    auto *panel = new Panel(Role::Card);
    panel->setObjectName(u"facts"_s);
    auto *grid = new QGridLayout(panel);
    grid->setContentsMargins(space::card, space::group, space::card, space::group);
    grid->setHorizontalSpacing(space::card);
    grid->setVerticalSpacing(space::between);
    grid->setColumnStretch(1, 1);
    if (question.known) {
        grid->setColumnStretch(2, 1);
        const QString heads[] = {tr("Now"), tr("Accepted before")};
        for (int column = 0; column < 2; ++column) {
            auto *head = plainLabel(heads[column]);
            setFontScale(head, 1, QFont::DemiBold);
            grid->addWidget(head, 0, 1 + column);
        }
    }
    for (const Fact &fact : facts()) {
        const int row = grid->rowCount();
        auto *label = plainLabel(fact.label, false);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse); // on the same line as what is beside it
        setTextRole(label, Role::Text2);
        grid->addWidget(label, row, 0, Qt::AlignTop | Qt::AlignTrailing);
        grid->addWidget(factLabel(fact, question.found.certificate), row, 1, Qt::AlignTop);
        if (question.known)
            grid->addWidget(factLabel(fact, *question.known), row, 2, Qt::AlignTop);
    }
    return panel;
}

QWidget *CertificateDialog::newFooter()
{
    auto *footer = new DialogFooter(tr("Refuse"));
    footer->cancelButton()->hide();
    footer->defaultButton()->setObjectName(u"refuse"_s);
    QPushButton *once = footer->addButton(tr("Accept &once"));
    once->setObjectName(u"acceptOnce"_s);
    QPushButton *always = footer->addButton(tr("Accept &always"));
    always->setObjectName(u"acceptAlways"_s);
    connect(once, &QPushButton::clicked, this, [this] { accept(CertificateAnswer::AcceptOnce); });
    connect(always, &QPushButton::clicked, this, [this] { accept(CertificateAnswer::AcceptAlways); });
    connect(footer, &DialogFooter::accepted, this, &QDialog::reject);
    footer->defaultButton()->setFocus();
    return footer;
}

void CertificateDialog::accept(CertificateAnswer answer)
{
    m_answer = answer;
    QDialog::accept();
}
