#!/usr/bin/env python3
"""tools/qt4-api finds what it shall find, and nothing in the product."""
import os
import subprocess
import sys
import tempfile
import unittest

TOOL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "qt4-api")

FOUND = [
    "#include <QtWidgets/QDialog>",
    "#include <QStandardPaths>",
    "auto home = QStandardPaths::writableLocation(x);",
    "connect(button, &QPushButton::clicked, this, &Dialog::close);",
    "connect(button, SIGNAL(clicked()), [this]() { close(); });",
    "QString text = QStringLiteral(\"x\");",
    "QString text = name.toHtmlEscaped();",
    "header->setSectionResizeMode(0, QHeaderView::Stretch);",
    "Q_OBJECT\n void paintEvent(QPaintEvent *) override;",
    "Q_ENUM(Mode)",
    "#if QT_VERSION >= 0x050000",
    "int width = metrics.horizontalAdvance(text);",
    "std::optional<int> found;",
    "if constexpr (true) {}",
    "auto [first, second] = pair;",
    "text.split(' ', Qt::SkipEmptyParts)",
    "connect(view, SIGNAL(activated(QModelIndex)), this,\n SLOT(open(QModelIndex)), Qt::QueuedConnection);",
    "qRegisterMetaType<QModelIndex>();",
    "QTimer::singleShot(0, this, [this]() { close(); });",
    "QTimer::singleShot(0, this, &Dialog::close);",
    "QPixmap picture = widget->grab();",
    "QFileDialog::getOpenFileUrl(this);",
    "QVector<int> numbers{1, 2};",
    "QStringList names = {a, b};",
    "if (a and b) {}",
    "if (not a) {}",
    "ssize_t count;",
    "#include <unistd.h>",
]
NOT_FOUND = [
    "// connect(button, &QPushButton::clicked, this, &Dialog::close);",
    "/* QStandardPaths\n QStringLiteral */",
    "log(\"QStringLiteral is a macro\");",
    "connect(button, SIGNAL(clicked()), this, SLOT(close()));",
    "class Plain { void run() override; };",
    "QObject::connect(&model, SIGNAL(modelReset()), this, SLOT(update()));",
    "#include <QDialog>\n#include <QtCore/QString>",
    "#if defined(__GNUC__)\n__attribute__((x))\n#endif",
    "#ifdef __GNUC__\n__attribute__((x))\n#endif",
    "connect(timer, SIGNAL(timeout()), this, SLOT(run()), Qt::QueuedConnection);",
    "connect(a, SIGNAL(changed(int)), this, SLOT(run(int))); connect(b, SIGNAL(done()), this, SLOT(end()), Qt::QueuedConnection);",
    "QTimer::singleShot(0, this, SLOT(close()));",
    "QStringList names{};",
    "QVector<int> numbers(3);",
]


class Qt4Api(unittest.TestCase):
    def run_on(self, text):
        with tempfile.NamedTemporaryFile("w", suffix=".h", encoding="utf-8") as file:
            file.write(text)
            file.flush()
            return subprocess.run([sys.executable, TOOL, file.name], text=True, stdout=subprocess.PIPE, check=False)

    def test_finds_what_qt_4_8_does_not_have(self):
        for text in FOUND:
            with self.subTest(text):
                run = self.run_on("int before;\n" + text + "\n")
                self.assertEqual(1, run.returncode)
                self.assertRegex(run.stdout, r":[23]: .+: .+\n")

    def test_leaves_the_rest_alone(self):
        for text in NOT_FOUND:
            with self.subTest(text):
                run = self.run_on(text + "\n")
                self.assertEqual(("", 0), (run.stdout, run.returncode))

    def test_the_product_has_nothing_of_it(self):
        run = subprocess.run([sys.executable, TOOL], text=True, stdout=subprocess.PIPE, check=False)
        self.assertEqual(("", 0), (run.stdout, run.returncode))


if __name__ == "__main__":
    unittest.main()
