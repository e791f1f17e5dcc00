#include "apps/talvo/text_table.h"

#include "apps/talvo/terminal_text.h"

#include <algorithm>

namespace talvo {

namespace {

std::vector<std::string> GetTitles(const std::vector<TextTable::Column>& columns) {
    std::vector<std::string> titles;
    for (const TextTable::Column& column : columns) titles.push_back(column.title);
    return titles;
}

}  // namespace

TextTable::TextTable(std::vector<Column> columns) : _columns(std::move(columns)), _widths(_columns.size()) {
    Widen(GetTitles(_columns));
}

void TextTable::Widen(const std::vector<std::string>& cells) {
    for (std::size_t i = 0; i < cells.size(); i++) _widths[i] = std::max(_widths[i], TerminalText::GetWidth(cells[i]));
}

void TextTable::AddRow(std::vector<std::string> cells) {
    cells.resize(_columns.size());
    for (std::string& cell : cells) cell = TerminalText::MakeSafe(cell);
    Widen(cells);
    _rows.push_back(std::move(cells));
}

std::string TextTable::MakeLine(const std::vector<std::string>& cells) const {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); i++) {
        const std::string gap(std::size_t(_widths[i] - TerminalText::GetWidth(cells[i])), ' ');
        if (i > 0) line += "  ";
        line += _columns[i].align == ALIGN::RIGHT ? gap + cells[i] : cells[i] + gap;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::vector<std::string> TextTable::MakeLines() const {
    std::vector<std::string> lines{MakeLine(GetTitles(_columns))};
    for (const auto& row : _rows) lines.push_back(MakeLine(row));
    return lines;
}

}  // namespace talvo
