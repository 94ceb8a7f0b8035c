// Tables of text that grow row by row.
#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace koru_bench {

class Table {
  public:
    struct Column {
        std::string_view caption;
        int width = 0;
    };

    /// Title and captions come out with the first row: a table without rows is silent.
    Table(std::ostream& out, std::string_view title, std::vector<Column> columns)
        : out_(out), title_(title), columns_(std::move(columns)) {}

    // The next cell of the row. One without a value is a dash.
    Table& Text(std::string_view text);
    Table& Number(std::optional<double> value);  ///< Three digits, or all before the point.
    Table& Count(std::optional<double> value);   ///< Without a fraction.

    /// Ends the row; cells that were not given are dashes.
    void EndRow();

  private:
    Table& Fixed(std::optional<double> value, int decimals);
    void PrintCaptions();
    void PrintRow(const std::vector<std::string>& cells);

    std::ostream& out_;
    std::string title_;
    std::vector<Column> columns_;
    std::vector<std::string> cells_;
    bool hasCaptions_ = false;
};

// Of numbers that may be missing.
std::optional<double> Ratio(std::optional<double> value, std::optional<double> base);
std::optional<double> Sum(std::optional<double> left, std::optional<double> right);

/// Of at least one value.
double GetMedian(std::vector<double> values);

}  // namespace koru_bench
