#pragma once

#include "net/questions.h"

#include <QDialog>

class QGridLayout;
class QVBoxLayout;

/// Puts a certificate that cannot be trusted by itself before the user: what is wrong with it in words, whose
/// it is, until when and its fingerprint; the one that was accepted before beside it when it changed. Enter
/// and Esc refuse.
class CertificateDialog : public QDialog
{
    Q_OBJECT

public:
    explicit CertificateDialog(const CertificateQuestion &question, QWidget *parent = nullptr);

    /// Once it is closed; Refuse until then.
    CertificateAnswer answer() const { return m_answer; }

private:
    void addProblems(QVBoxLayout *page, const CertificateReport &report);
    QWidget *newFacts(const CertificateQuestion &question);
    QWidget *newFooter();
    void accept(CertificateAnswer answer);

    CertificateAnswer m_answer = CertificateAnswer::Refuse;
};

/// Makes @p dialog as high as its wrapped texts need at its smallest width, which a layout alone does not.
void fitHeight(QDialog &dialog);

/// What a problem means, in one sentence.
QString problemWords(const CertificateProblem &problem);

/// 64 hexadecimal digits as people compare them: "0A1B 2C3D ..." in four lines.
QString groupedFingerprint(const QByteArray &sha256);
