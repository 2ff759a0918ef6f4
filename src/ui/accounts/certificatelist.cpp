#include "ui/accounts/certificatelist.h"

#include "ui/accounts/certificatedialog.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/texts/datetext.h"
#include "ui/texts/harmless.h"

#include <QDateTime>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kRows = 3;
constexpr qsizetype kShownDigits = 16;

QString textOf(const CertificateInfo &certificate)
{
    const QString digits =
        QString::fromLatin1(certificate.sha256.first(qMin(kShownDigits, certificate.sha256.size())))
            .toUpper();
    if (certificate.commonName.isEmpty())
        return digits + u"…"_s;
    const QString until = dayText(QDateTime::fromSecsSinceEpoch(certificate.validUntil).date(), true);
    return QObject::tr("%1, until %2").arg(harmlessLine(certificate.commonName), until);
}

} // namespace

CertificateList::CertificateList(std::vector<CertificateInfo> certificates, QWidget *parent)
    : QWidget(parent)
    , m_certificates(std::move(certificates))
    , m_list(new QListWidget)
    , m_remove(new QPushButton(tr("Re&move")))
{
    m_list->setObjectName(u"accepted"_s);
    m_list->setAccessibleName(tr("Accepted certificates"));
    m_list->setFixedHeight(kRows * rowHeight(RowKind::List) + 2);
    m_remove->setObjectName(u"removeCertificate"_s);
    m_remove->setAutoDefault(false);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(space::between);
    auto *none = new QLabel(tr("No certificate that had problems."));
    setTextRole(none, Role::Text2);
    const bool any = !m_certificates.empty();
    none->setVisible(!any);
    m_list->setVisible(any);
    m_remove->setVisible(any);
    layout->addWidget(none, 1);
    layout->addWidget(m_list, 1);
    layout->addWidget(m_remove, 0, Qt::AlignTop);
    setFocusProxy(m_list);
    connect(m_remove, &QPushButton::clicked, this, &CertificateList::removeCurrent);
    fill();
}

void CertificateList::fill()
{
    m_list->clear();
    for (const CertificateInfo &certificate : m_certificates) {
        auto *item = new QListWidgetItem(textOf(certificate), m_list);
        item->setToolTip(asToolTip(certificate.subject + u'\n' + groupedFingerprint(certificate.sha256)));
    }
    m_list->setCurrentRow(0);
    m_remove->setEnabled(m_list->count() > 0);
}

void CertificateList::removeCurrent()
{
    const int row = m_list->currentRow();
    if (row < 0)
        return;
    m_certificates.erase(m_certificates.begin() + row);
    fill();
    emit changed();
}
