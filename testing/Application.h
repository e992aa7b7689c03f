// Which application object a test executable runs with: one of the two sources behind this header is linked into it.
#ifndef TESTING_APPLICATION_H
#define TESTING_APPLICATION_H

#include <QtCore/QCoreApplication>

#include <memory>

/// A QCoreApplication, or a QApplication on the current display for tests of what a person sees.
std::unique_ptr<QCoreApplication> makeTestApplication(int &argc, char **argv);

#endif
