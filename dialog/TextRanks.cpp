#include "dialog/TextRanks.h"

#include "dialog/HdfsFileSystemModel.h"

#include <QtCore/QString>

#include <algorithm>
#include <vector>

namespace {

struct RowText {
    QString text;
    int row;
};

bool comesBefore(const RowText &left, const RowText &right)
{
    return QString::compare(left.text, right.text, Qt::CaseInsensitive) < 0;
}

} // namespace

bool TextRanks::isLess(const HdfsFileSystemModel &model, int column, int left, int right)
{
    if (m_model != &model || m_column != column || m_revision != model.revision())
        rank(model, column);
    return m_ranks.at(left) < m_ranks.at(right);
}

void TextRanks::rank(const HdfsFileSystemModel &model, int column)
{
    std::vector<RowText> texts;
    texts.reserve(static_cast<std::size_t>(model.rowCount()));
    for (int row = 0; row < model.rowCount(); ++row) {
        const RowText text = {model.data(model.index(row, column), Qt::UserRole).toString(), row};
        texts.push_back(text);
    }
    std::sort(texts.begin(), texts.end(), comesBefore);
    m_ranks.resize(model.rowCount());
    int rank = 0;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (i > 0 && comesBefore(texts[i - 1], texts[i]))
            ++rank;
        m_ranks[texts[i].row] = rank;
    }
    m_model = &model;
    m_column = column;
    m_revision = model.revision();
}
