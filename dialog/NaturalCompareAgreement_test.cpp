// The order of names against a second, plain way of telling it, on names made at random.
#include "dialog/NaturalCompare.h"

#include <gtest/gtest.h>

#include <QtCore/QLocale>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace {

QChar characterAt(const QString &text, int position)
{
    return position < text.size() ? text[position] : QChar(0);
}

/// One step after the other, without any short cut.
int plainCompare(const QString &s1, const QString &s2, Qt::CaseSensitivity caseSensitivity)
{
    for (int l1 = 0, l2 = 0; l1 <= s1.size() && l2 <= s2.size(); ++l1, ++l2) {
        while (characterAt(s1, l1).isSpace())
            ++l1;
        while (characterAt(s2, l2).isSpace())
            ++l2;
        if (characterAt(s1, l1).isDigit() && characterAt(s2, l2).isDigit()) {
            while (characterAt(s1, l1).digitValue() == 0)
                ++l1;
            while (characterAt(s2, l2).digitValue() == 0)
                ++l2;
            int remembered = 0;
            for (int look1 = l1, look2 = l2; look1 <= s1.size() && look2 <= s2.size(); ++look1, ++look2) {
                const bool isDigit1 = characterAt(s1, look1).isDigit();
                const bool isDigit2 = characterAt(s2, look2).isDigit();
                if (!isDigit1 && !isDigit2)
                    break;
                if (!isDigit1)
                    return -1;
                if (!isDigit2)
                    return 1;
                if (remembered == 0 && characterAt(s1, look1) < characterAt(s2, look2))
                    remembered = -1;
                else if (remembered == 0 && characterAt(s1, look1) > characterAt(s2, look2))
                    remembered = 1;
            }
            if (remembered != 0)
                return remembered;
        }
        QString c1 = QString(characterAt(s1, l1));
        QString c2 = QString(characterAt(s2, l2));
        if (caseSensitivity == Qt::CaseInsensitive) {
            if (!c1[0].isLower())
                c1[0] = c1[0].toLower();
            if (!c2[0].isLower())
                c2[0] = c2[0].toLower();
        }
        const int order = QString::localeAwareCompare(c1, c2);
        if (order != 0)
            return order < 0 ? -1 : 1;
    }
    return QString::compare(s1, s2, caseSensitivity);
}

int sign(int number)
{
    return number < 0 ? -1 : number > 0 ? 1 : 0;
}

/// Names of few different characters, so that many of them begin alike; about half of them are ASCII throughout.
class RandomNames
{
public:
    explicit RandomNames(unsigned seed) : m_random(seed) {}

    QString next()
    {
        const bool isAscii = m_random() % 2 == 0;
        const int length = static_cast<int>(m_random() % 9);
        QString name;
        for (int i = 0; i < length; ++i)
            name += isAscii || m_random() % 2 == 0 ? ascii() : other();
        return name;
    }

private:
    QChar ascii()
    {
        static const char often[] = "0012399aAbB  \t.-_";
        return m_random() % 8 == 0 ? QChar(static_cast<ushort>(m_random() % 128))
                                   : QChar::fromLatin1(often[m_random() % (sizeof often - 1)]);
    }
    QChar other()
    {
        // Digits of other scripts, blanks, letters with odd cases, a combining mark, half of a surrogate pair.
        static const ushort characters[] = {0x0660, 0x0661, 0x0966, 0x0967, 0x00A0, 0x2003, 0x00E4, 0x00C4,
                                            0x00DF, 0x0130, 0x0131, 0x212A, 0x017F, 0x0301, 0xD83D, 0xDE00,
                                            0x6C49, 0x200F, 0xFFFD, 0xFFFF, 0x0080, 0x00B2};
        return QChar(characters[m_random() % (sizeof characters / sizeof *characters)]);
    }

    std::mt19937 m_random;
};

/// A name whose characters end where their memory does: nothing stands behind the last one.
class BareName
{
public:
    explicit BareName(const QString &name) : m_characters(new QChar[static_cast<std::size_t>(name.size())])
    {
        std::copy(name.constBegin(), name.constEnd(), m_characters.get());
        m_name = QString::fromRawData(m_characters.get(), name.size());
    }
    const QString &name() const { return m_name; }

private:
    std::unique_ptr<QChar[]> m_characters;
    QString m_name;
};

struct BareBytes {
    explicit BareBytes(const QByteArray &name)
        : bytes(name.constBegin(), name.constEnd()), view{bytes.data(), bytes.size()}
    {
    }
    std::vector<char> bytes;
    ByteString view;
};

class NaturalCompareAgreement : public ::testing::Test
{
protected:
    /// A language that orders characters otherwise than their codes, whatever that of the environment is. Qt asks for
    /// it at the first comparison of the process, and so do we.
    NaturalCompareAgreement() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }
    ~NaturalCompareAgreement() override { QLocale::setDefault(outer); }

    const QLocale outer;
};

TEST_F(NaturalCompareAgreement, NamesAtRandomAreOrderedAsThePlainWayOrdersThem)
{
    RandomNames names(20);
    for (int i = 0; i < 200000; ++i) {
        const BareName first(names.next());
        const BareName second(names.next());
        for (Qt::CaseSensitivity caseSensitivity : {Qt::CaseInsensitive, Qt::CaseSensitive})
            ASSERT_EQ(sign(plainCompare(first.name(), second.name(), caseSensitivity)),
                      sign(naturalCompare(first.name(), second.name(), caseSensitivity)))
                << first.name().toStdString() << " | " << second.name().toStdString() << " " << caseSensitivity;
    }
}

TEST_F(NaturalCompareAgreement, NamesInUtf8AreOrderedAsTheirTextsAre)
{
    RandomNames names(21);
    for (int i = 0; i < 200000; ++i) {
        const BareBytes first(names.next().toUtf8());
        const BareBytes second(names.next().toUtf8());
        const QString text1 = QString::fromUtf8(first.view.data, static_cast<int>(first.view.size));
        const QString text2 = QString::fromUtf8(second.view.data, static_cast<int>(second.view.size));
        for (Qt::CaseSensitivity caseSensitivity : {Qt::CaseInsensitive, Qt::CaseSensitive})
            ASSERT_EQ(sign(plainCompare(text1, text2, caseSensitivity)),
                      sign(naturalCompare(first.view, second.view, caseSensitivity)))
                << text1.toStdString() << " | " << text2.toStdString() << " " << caseSensitivity;
    }
}

TEST_F(NaturalCompareAgreement, BytesThatAreNoUtf8AreOrderedAsWhatTheyAreShownAs)
{
    std::mt19937 random(22);
    for (int i = 0; i < 50000; ++i) {
        QByteArray bytes[2];
        for (QByteArray &one : bytes) {
            for (std::size_t length = random() % 9; length > 0; --length)
                one += "a0 \xc3\xbc\xff\xe6"[random() % 7];
        }
        const BareBytes first(bytes[0]);
        const BareBytes second(bytes[1]);
        ASSERT_EQ(sign(plainCompare(QString::fromUtf8(bytes[0]), QString::fromUtf8(bytes[1]), Qt::CaseInsensitive)),
                  sign(naturalCompare(first.view, second.view, Qt::CaseInsensitive)))
            << bytes[0].toHex().constData() << " | " << bytes[1].toHex().constData();
    }
}

/// Each name of up to three of these characters with each other one: numbers and blanks at every place where the
/// looking ahead begins or ends.
TEST_F(NaturalCompareAgreement, ShortNamesOfDigitsAndBlanksAgreeAllOfThem)
{
    const QString characters = QLatin1String("01 a");
    std::vector<QString> names(1);
    for (std::size_t i = 0; names[i].size() < 3; ++i) {
        for (QChar character : characters)
            names.push_back(names[i] + character);
    }
    ASSERT_EQ(85u, names.size());
    for (const QString &name1 : names) {
        const BareName first(name1);
        for (const QString &name2 : names) {
            const BareName second(name2);
            const int expected = sign(plainCompare(name1, name2, Qt::CaseInsensitive));
            EXPECT_EQ(expected, sign(naturalCompare(first.name(), second.name(), Qt::CaseInsensitive)))
                << '"' << name1.toStdString() << "\" | \"" << name2.toStdString() << '"';
            EXPECT_EQ(-expected, sign(naturalCompare(second.name(), first.name(), Qt::CaseInsensitive)))
                << '"' << name1.toStdString() << "\" | \"" << name2.toStdString() << '"';
        }
    }
}

TEST_F(NaturalCompareAgreement, EachPairOfAsciiCharactersIsOrderedAsTheLocaleOrdersIt)
{
    for (ushort code1 = 0; code1 < 128; ++code1) {
        for (ushort code2 = 0; code2 < 128; ++code2) {
            const QString first = QString(QChar(code1));
            const QString second = QString(QChar(code2));
            // Twice: the second time what the first has found out is used.
            for (int i = 0; i < 2; ++i)
                ASSERT_EQ(sign(plainCompare(first, second, Qt::CaseSensitive)),
                          sign(naturalCompare(first, second, Qt::CaseSensitive)))
                    << code1 << " " << code2;
        }
    }
}

} // namespace
