/// \file
/// One chart of each kind, with figures as reports have them.
#pragma once

#include "documents/charts/ChartPicture.h"

#include <string>
#include <vector>

namespace qm::test {

struct ChartSample
{
    const char *name;
    ChartSpec spec;
    ChartData data;
};

inline ChartSpec chartSpec(ChartKind kind, std::string title, std::string category, std::string value)
{
    ChartSpec spec;
    spec.kind = kind;
    spec.title = std::move(title);
    spec.category.caption = std::move(category);
    spec.value.caption = std::move(value);
    spec.value.type = ColumnType::Integer;
    spec.value.format = "#,##0";
    return spec;
}

inline std::vector<std::string> numberedLabels(int from, int to)
{
    std::vector<std::string> labels;
    for (int i = from; i <= to; ++i)
        labels.push_back((i < 10 ? "0" : "") + std::to_string(i));
    return labels;
}

inline std::vector<ChartSample> chartSamples()
{
    using enum ChartKind;
    std::vector<ChartSample> samples;

    ChartSpec stacked = chartSpec(StackedBar, "Attempts by account and reason", "Account", "Attempts");
    stacked.valueTitle = "Attempts";
    stacked.other = true;
    const std::vector<std::string> accounts{"d.petrov",   "r.oconnor", "p.novak",  "a.costa",  "m.okafor", "a.lindqvist",
                                            "e.kowalska", "f.silva",   "j.tanaka", "l.moreau", "Other"};
    ChartData attempts{accounts,
                       {{"wrong password", {7, 8, 7, 6, 0, 3, 1, 1, 0, 1, 5}},
                        {"no such account", {2, 2, 1, 0, 2, 0, 1, 0, 1, 1, 3}},
                        {"locked out", {4, 0, 0, 0, 3, 1, 1, 0, 1, 0, 2}},
                        {"disabled", {1, 2, 0, 0, 1, 0, 0, 2, 0, 0, 1}}},
                       true,
                       false,
                       20};
    samples.push_back({"stacked-bar", stacked, attempts});

    ChartSpec bar = chartSpec(Bar, "Computers with most attempts", "Computer", "Attempts");
    bar.other = true;
    samples.push_back(
        {"bar",
         bar,
         {{"SRV-DC01.example.com", "SRV-SQL01.example.com", "SRV-BACKUP01.example.com", "SRV-WEB01.example.com", "WS-0283", "Other"},
          {{"", {1623, 1004, 712, 655, 310, 920}}},
          true,
          false,
          22}});

    ChartSpec change = chartSpec(Bar, "Change against the week before", "Program", "Messages");
    samples.push_back({"bar-negative", change, {{"sshd", "cron", "kernel", "sudo"}, {{"", {420, -180, 75, -12}}}, false, false, 4}});

    ChartSpec column = chartSpec(Column, "Log-ins by weekday", "Weekday", "Log-ins");
    samples.push_back({"column",
                       column,
                       {{"Friday", "Monday", "Saturday", "Sunday", "Thursday", "Tuesday", "Wednesday"},
                        {{"", {812, 934, 120, 88, 901, 955, 947}}},
                        false,
                        false,
                        7}});

    ChartSpec grouped = chartSpec(Column, "Failures by unit", "Unit", "Failures");
    samples.push_back({"column-grouped",
                       grouped,
                       {{"systemd-networkd.service", "nginx.service", "postgresql@15-main.service", "cron.service"},
                        {{"this week", {14, 9, 5, 2}}, {"last week", {11, 12, 1, 2}}},
                        false,
                        false,
                        4}});

    const std::vector<std::string> days{"2026-11-14", "2026-11-15", "2026-11-16", "2026-11-18", "2026-11-19", "2026-11-20"};
    ChartSpec byDay = chartSpec(StackedColumn, "Events by day and level", "Day", "Events");
    byDay.category.type = ColumnType::Date;
    samples.push_back({"stacked-column",
                       byDay,
                       {days,
                        {{"Information", {410, 520, 610, 580, 640, 210}},
                         {"Warning", {120, 90, 140, 160, 110, 40}},
                         {"Error", {40, 22, 18, 75, 12, 6}},
                         {"Critical", {0, 3, 0, 8, 1, 0}},
                         {"Other", {10, 12, 4, 9, 3, 1}}},
                        false,
                        true,
                        6,
                        true,
                        true}});

    ChartSpec line = byDay;
    line.kind = Line;
    line.title = "Failed log-ins by day and program";
    samples.push_back({"line",
                       line,
                       {days,
                        {{"sshd", {41, 52, 61, 58, 64, 21}},
                         {"sudo", {12, 9, 14, 16, 11, 4}},
                         {"su", {4, 2, 1, 7, 1, 6}},
                         {"login", {30, 33, 20, 48, 31, 20}},
                         {"cron", {22, 21, 25, 9, 23, 11}},
                         {"Other", {5, 2, 1, 9, 3, 1}}},
                        false,
                        true,
                        6,
                        true,
                        false}});

    ChartSpec area = byDay;
    area.kind = Area;
    area.title = "Bytes sent by day";
    area.value.caption = "Bytes";
    area.value.format = "bytes";
    samples.push_back({"area",
                       area,
                       {days,
                        {{"web", {4.1e9, 5.2e9, 6.1e9, 5.8e9, 6.4e9, 2.1e9}},
                         {"mail", {1.2e9, 9e8, 1.4e9, 1.6e9, 1.1e9, 4e8}},
                         {"Other", {3e8, 4e8, 2e8, 5e8, 6e8, 1e8}}},
                        false,
                        true,
                        6}});

    ChartSpec pie = chartSpec(Pie, "Kinds of log-on", "Kind", "Log-ons");
    pie.other = true;
    samples.push_back(
        {"pie",
         pie,
         {{"Interactive", "Network", "Service", "Remote interactive (RDP)", "Other"}, {{"", {310, 1240, 520, 96, 60}}}, true, false, 9}});

    ChartSpec heat = chartSpec(Heat, "Failed log-ins by weekday and hour", "Hour", "Failed log-ins");
    ChartData week{numberedLabels(0, 23), {}, false, false, 24};
    int seed = 7;
    for (const char *const day : {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"}) {
        std::vector<double> hours;
        for (int hour = 0; hour < 24; ++hour) {
            seed = (seed * 73 + 41) % 997;
            hours.push_back(hour >= 7 && hour <= 18 ? seed % 90 + (hour == 9 ? 110 : 0) : seed % 11);
        }
        week.series.push_back({day, hours});
    }
    samples.push_back({"heat", heat, week});

    ChartSpec histogram = chartSpec(Histogram, "Duration of sessions", "Minutes", "Sessions");
    ChartData durations{{}, {{"", {}}}, false, false, 24};
    for (int i = 0; i < 24; ++i) {
        durations.categories.push_back(std::to_string(i * 5) + "\u2013" + std::to_string(i * 5 + 5));
        durations.series[0].values.push_back(i < 5 ? 20 * (i + 1) * (i + 1) : 12000.0 / (i * i));
    }
    for (double &value : durations.series[0].values)
        value = static_cast<int>(value);
    samples.push_back({"histogram", histogram, durations});

    samples.push_back({"right-to-left",
                       bar,
                       {{"تسجيل الدخول إلى الخادم الرئيسي", "התחברות לשרת", "系统日志：用户登录失败", "a\u202Eexe.txt", "Other"},
                        {{"", {120, 80, 44, 12, 30}}},
                        true,
                        false,
                        40}});

    ChartSpec many = chartSpec(Line, "Events by day, a year", "Day", "Events");
    many.category.type = ColumnType::Date;
    ChartData year{{}, {{"", {}}}, false, false, 0};
    for (int month = 1; month <= 12; ++month)
        for (int day = 1; day <= 28; ++day) {
            seed = (seed * 73 + 41) % 997;
            year.categories.push_back("2026-" + numberedLabels(month, month)[0] + "-" + numberedLabels(day, day)[0]);
            year.series[0].values.push_back(4000 + seed * 3 + month * 200);
        }
    samples.push_back({"line-year", many, year});
    return samples;
}

} // namespace qm::test
