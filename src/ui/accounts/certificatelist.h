#pragma once

#include "net/socket/certificate.h"

#include <QWidget>

#include <vector>

class QListWidget;
class QPushButton;

/// The certificates that were accepted for good, with a button that takes them back.
class CertificateList : public QWidget
{
    Q_OBJECT

public:
    explicit CertificateList(std::vector<CertificateInfo> certificates, QWidget *parent = nullptr);

    const std::vector<CertificateInfo> &certificates() const { return m_certificates; }

signals:
    void changed();

private:
    void fill();
    void removeCurrent();

    std::vector<CertificateInfo> m_certificates;
    QListWidget *m_list;
    QPushButton *m_remove;
};
