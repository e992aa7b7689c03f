#include "testing/Application.h"

#include <QtWidgets/QApplication>

std::unique_ptr<QCoreApplication> makeTestApplication(int &argc, char **argv)
{
    return std::unique_ptr<QCoreApplication>(new QApplication(argc, argv));
}
