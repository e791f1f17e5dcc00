// A table for people: columns as wide as their widest cell on the screen.
#pragma once

#include "kernel/base/types.h"

#include <string>
#include <vector>

namespace talvo {

/// Cells may hold any bytes; what could steer a terminal is made visible.
class TextTable {
public:
    enum class ALIGN { LEFT, RIGHT };
    struct Column {
        std::string title;
        ALIGN align = ALIGN::LEFT;
    };
    explicit TextTable(std::vector<Column> columns);

    /// One cell for each column; missing ones are empty.
    void AddRow(std::vector<std::string> cells);
    /// Title line first, each without its end.
    std::vector<std::string> MakeLines() const;

private:
    std::string MakeLine(const std::vector<std::string>& cells) const;
    void Widen(const std::vector<std::string>& cells);

    std::vector<Column> _columns;
    std::vector<Int> _widths;
    std::vector<std::vector<std::string>> _rows;
};

}  // namespace talvo
