#include "bench_table.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace koru_bench {

Table& Table::Text(std::string_view text) {
    cells_.emplace_back(text);
    return *this;
}

Table& Table::Number(std::optional<double> value) {
    const double size = value.value_or(0);
    return Fixed(value, size < 10 ? 2 : size < 100 ? 1 : 0);
}

Table& Table::Count(std::optional<double> value) { return Fixed(value, 0); }

Table& Table::Fixed(std::optional<double> value, int decimals) {
    if (!value) return Text("-");
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << *value;
    return Text(text.str());
}

void Table::EndRow() {
    if (!hasCaptions_) PrintCaptions();
    cells_.resize(columns_.size(), "-");
    PrintRow(cells_);
    cells_.clear();
}

void Table::PrintRow(const std::vector<std::string>& cells) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        // Names to the left, numbers to the right.
        out_ << (i == 0 ? std::left : std::right) << std::setw(columns_[i].width) << cells[i]
             << (i + 1 < columns_.size() ? " " : "\n");
    }
    out_.flush();
}

void Table::PrintCaptions() {
    hasCaptions_ = true;
    out_ << '\n' << title_ << "\n\n";
    std::vector<std::string> captions;
    for (const Column& column : columns_) captions.emplace_back(column.caption);
    PrintRow(captions);
}

std::optional<double> Ratio(std::optional<double> value, std::optional<double> base) {
    if (!value || !base || *base == 0) return std::nullopt;
    return *value / *base;
}

std::optional<double> Sum(std::optional<double> left, std::optional<double> right) {
    if (!left || !right) return std::nullopt;
    return *left + *right;
}

double GetMedian(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace koru_bench
