#include "cli/run.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    return runCommandLine(QCoreApplication::arguments().mid(1));
}
