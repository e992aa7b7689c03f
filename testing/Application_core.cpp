#include "testing/Application.h"

std::unique_ptr<QCoreApplication> makeTestApplication(int &argc, char **argv)
{
    return std::unique_ptr<QCoreApplication>(new QCoreApplication(argc, argv));
}
