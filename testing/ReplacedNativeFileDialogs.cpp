#include "testing/ReplacedNativeFileDialogs.h"

#include <gtest/gtest.h>

namespace {

typedef ReplacedNativeFileDialogs Replaced;

Replaced *innermost = nullptr;

QString take(Replaced::Kind kind, QWidget *parent, const QString &caption, const QString &directory,
             const QString &filter)
{
    innermost->requests.push_back(Replaced::Request{kind, parent, caption, directory, filter});
    return innermost->answer;
}

QString openFile(QWidget *parent, const QString &caption, const QString &directory, const QString &filter)
{
    return take(Replaced::OpenFile, parent, caption, directory, filter);
}

QString saveFile(QWidget *parent, const QString &caption, const QString &directory, const QString &filter)
{
    return take(Replaced::SaveFile, parent, caption, directory, filter);
}

QString directory(QWidget *parent, const QString &caption, const QString &path)
{
    return take(Replaced::Directory, parent, caption, path, QString());
}

const platform::NativeFileDialogs replacements = {openFile, saveFile, directory};

} // namespace

ReplacedNativeFileDialogs::ReplacedNativeFileDialogs(const QString &givenAnswer)
    : answer(givenAnswer), m_outer(platform::replaceNativeFileDialogs(replacements))
{
    EXPECT_EQ(nullptr, innermost) << "one at a time";
    innermost = this;
}

ReplacedNativeFileDialogs::~ReplacedNativeFileDialogs()
{
    innermost = nullptr;
    platform::replaceNativeFileDialogs(m_outer);
}
