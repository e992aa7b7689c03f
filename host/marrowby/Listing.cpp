#include "host/marrowby/Listing.h"

#include "host/marrowby/FileMode.h"
#include "host/marrowby/HumanSize.h"
#include "host/marrowby/Operands.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <algorithm>

namespace {

const int kNarrowestSize = 10;
const int kReplicationWidth = 3;

class Listing
{
public:
    explicit Listing(CommandContext &context)
        : m_context(context), m_directoriesAsThemselves(context.arguments.has("-d")),
          m_recursive(context.arguments.has("-R") && !m_directoriesAsThemselves),
          m_onlyPaths(context.arguments.has("-C")), m_humanSizes(context.arguments.has("-h")),
          m_hideUnprintable(context.arguments.has("-q")), m_byTime(context.arguments.has("-t")),
          m_bySize(context.arguments.has("-S") && !m_byTime), m_reversed(context.arguments.has("-r")),
          m_accessTime(context.arguments.has("-u"))
    {
    }

    /// A path that was asked for.
    void operand(const Item &item)
    {
        mustExist(item);
        if (item.entry.isDirectory && !m_directoriesAsThemselves) {
            content(item);
        } else {
            fitColumns(std::vector<Item>(1, item));
            print(item);
        }
    }

private:
    void content(const Item &directory)
    {
        std::vector<Item> items = childrenOf(m_context, directory);
        sort(&items);
        if (!items.empty() && !m_recursive && !m_onlyPaths)
            m_context.output.line("Found " + QByteArray::number(static_cast<qulonglong>(items.size())) + " items");
        fitColumns(items);
        forEach(m_context, items, [this](const Item &item) {
            print(item);
            if (m_recursive && item.entry.isDirectory)
                content(item);
        });
    }

    quint64 time(const Item &item) const { return m_accessTime ? item.entry.accessTime : item.entry.modificationTime; }

    bool before(const Item &left, const Item &right) const
    {
        if (m_byTime && time(left) != time(right))
            return time(left) > time(right);
        if (m_bySize && left.entry.length != right.entry.length)
            return left.entry.length > right.entry.length;
        return !m_byTime && !m_bySize && left.path < right.path;
    }

    void sort(std::vector<Item> *items) const
    {
        // What is equal stays in the NameNode's order, also in a reversed listing. A whole tree stays in it altogether.
        if ((m_byTime || m_bySize || m_reversed) && !m_recursive)
            std::stable_sort(items->begin(), items->end(), [this](const Item &left, const Item &right) {
                return m_reversed ? before(right, left) : before(left, right);
            });
    }

    QByteArray size(const Item &item) const
    {
        return m_humanSizes ? humanSize(item.entry.length) : QByteArray::number(item.entry.length);
    }

    /// Columns only grow, over all that one command lists.
    void fitColumns(const std::vector<Item> &items)
    {
        for (const Item &item : items) {
            m_ownerWidth = std::max(m_ownerWidth, item.entry.owner.size());
            m_groupWidth = std::max(m_groupWidth, item.entry.group.size());
            m_sizeWidth = std::max(m_sizeWidth, size(item).size());
        }
    }

    QByteArray shown(const Item &item) const
    {
        if (!m_hideUnprintable)
            return item.shown;
        QString text = QString::fromUtf8(item.shown);
        for (QChar &character : text)
            if (!character.isPrint() && !character.isSurrogate())
                character = QLatin1Char('?');
        return text.toUtf8();
    }

    void print(const Item &item)
    {
        if (m_onlyPaths) {
            m_context.output.line(shown(item));
            return;
        }
        const FileEntry &entry = item.entry;
        const QByteArray replication = entry.isDirectory ? QByteArray("-") : QByteArray::number(entry.replication);
        QByteArray line;
        line += (entry.isDirectory ? 'd' : '-') + modeText(entry.mode) + (entry.hasAcl ? '+' : ' ');
        line += replication.rightJustified(kReplicationWidth) + ' ';
        line += entry.owner.leftJustified(m_ownerWidth) + ' ';
        line += entry.group.leftJustified(m_groupWidth) + ' ';
        line += size(item).rightJustified(m_sizeWidth) + ' ';
        line += QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(time(item)))
                    .toString(QLatin1String("yyyy-MM-dd HH:mm"))
                    .toLatin1();
        m_context.output.line(line + ' ' + shown(item));
    }

    CommandContext &m_context;
    const bool m_directoriesAsThemselves;
    const bool m_recursive;
    const bool m_onlyPaths;
    const bool m_humanSizes;
    const bool m_hideUnprintable;
    const bool m_byTime;
    const bool m_bySize;
    const bool m_reversed;
    const bool m_accessTime;
    int m_ownerWidth = 0;
    int m_groupWidth = 0;
    int m_sizeWidth = kNarrowestSize;
};

} // namespace

void listFiles(CommandContext &context)
{
    Listing listing(context);
    std::vector<QByteArray> arguments = context.arguments.operands;
    if (arguments.empty())
        arguments.push_back(".");
    forEach(context, expandAll(context, arguments), [&listing](const Item &item) { listing.operand(item); });
}
