// Small files as loggers write them: what the plan makes of them, one line each.
#include <algorithm>
#include <functional>

#include "tests/exchange/ExchangeTest.h"

namespace dravik {
namespace {

struct Case {
    std::string text;
    std::string plan;
    std::string tells;  ///< words of a note or problem; empty: none looked for
};

void ExpectPlans(const std::vector<Case>& cases, const Choices& choices = {}) {
    for (const Case& c : cases) {
        const ImportPlan plan = PlanOf(c.text, choices);
        EXPECT_EQ(Summary(plan), c.plan) << c.text << PlanText(plan);
        EXPECT_TRUE(Tells(plan, c.tells)) << c.text << PlanText(plan);
    }
}

const std::string rows = RowsOf(40);  // with a line of names: lines 2 to 41
const std::string plain = "|P |T s|0+100x40";

TEST(Plan, FindsEncodingLineEndsAndSeparator) {
    std::string cr = "T,P\n" + rows;
    std::replace(cr.begin(), cr.end(), '\n', '\r');
    std::string wide;
    for (const char c : "T,P\n" + rows)
        wide += std::string(1, c) + '\0';
    ExpectPlans({{"T,P\n" + rows, ",." + plain, ""},
                 {"\xEF\xBB\xBFT,P\r\n" + rows + "\x1A" + std::string(9, '\0'), ",." + plain, ""},
                 {cr, ",." + plain, ""},
                 {"\xFF\xFE" + wide, ",." + plain, ""},
                 {wide, ",." + plain, ""},
                 {"T,T\xB0 (\xB0"
                  "C)\n" +
                      rows,
                  ",.|T\xC2\xB0(\xC2\xB0"
                  "C) |T s|0+100x40",
                  ""},
                 {"sep=;\nT;P\n0;1,5\n1;2,5\n2;3,5\n3;4,5\n", ";,|P |T s|0+100x4", "1 line of preamble"},
                 {"T\tP\n" + RowsOf(40, "\t"), "tab." + plain, ""},
                 {"T|P\n" + RowsOf(40, "|"), "|." + plain, ""},
                 {"T [s]  P [psi]\n  0 1.5\n  1 2.5\n  2 3.5\n 3 4.5\n", "blanks.|P(psi) |T s|0+100x4", ""},
                 {"T,P,\n0,1.5,\n1,2.5,\n2,3.5,\n3,4.5,\n", ",.|P |T s|0+100x4", ""},
                 {"\"T\n(s)\",\"a \"\"P\"\"\"\n" + rows, ",.|A__P_ |T s|0+100x40", ""},
                 {"T P\n0,5 1,5\n1,5 2,5\n2,5 3,5\n",
                  "commas or blanks between the cells? (--separator , or --separator blanks)", ""},
                 {"T P\n0 1,234\n1 1,235\n2 1,236\n",
                  "commas or blanks between the cells? (--separator , or --separator blanks)", ""},
                 {"T,P\n0,1,5\n1,2,5\n2,3,5\n", ",.|P COL3 |T s|0+100x3", "no name for COL3"},
                 {"PK\x03\x04" + rows, "it is a binary file, not text", ""},
                 {"\n \n", "the file is empty", ""},
                 {"some words\nand more\n",
                  "no table: no rows of numbers among the first 2 lines (--separator, --leave-out)", ""}});
}

TEST(Plan, FindsTheDecimalSign) {
    ExpectPlans({{"T;P\n0;0,5\n1;1,25\n2;1234,567\n", ";,|P |T s|0+100x3", ""},
                 {"T;P\n0;1,234\n1;1,235\n2;1,236\n", ";,|P |T s|0+100x3", "decimal comma"},
                 {"T\tP\n0\t1,234\n1\t1,235\n2\t1,236\n",
                  "line 2: \"1,234\": thousands or decimals? (--decimal , or .)", ""},
                 {"T,P\n0,\"1,234.5\"\n1,\"1,235.5\"\n2,\"1,236.5\"\n", ",.|P |T s|0+100x3", ""},
                 {"T;P\n0;1.234,5\n1;1.235,5\n2;1.236,5\n", ";,|P |T s|0+100x3", ""}});
    EXPECT_EQ(CurveOf(PlanOf("T,P\n0,\"1,234.5\"\n1,\"1,235.5\"\n2,\"1,236.5\"\n"), 0),
              (std::vector<float>{1234.5F, 1235.5F, 1236.5F}));
    Choices point;
    point.decimal = '.';
    EXPECT_EQ(CurveOf(PlanOf("T\tP\n0\t1,234\n1\t1,235\n2\t1,236\n", point), 0),
              (std::vector<float>{1234.0F, 1235.0F, 1236.0F}));
    EXPECT_EQ(CurveOf(PlanOf("T;P\n0;1.234,5\n1;1.235,5\n2;1.236,5\n"), 0),
              (std::vector<float>{1234.5F, 1235.5F, 1236.5F}));
}

TEST(Plan, FindsNamesAndUnits) {
    const std::string body = "0,1.5,9\n1,2.5,8\n2,3.5,9\n3,4.5,7\n";
    const std::string grid = "|T s|0+100x4";
    ExpectPlans(
        {{"T (s),Pressure (psi),Flow [gpm]\n" + body, ",.|PRESSURE(psi) FLOW(gpm) " + grid, ""},
         {"T_s,p_bar,p_min\n" + body, ",.|P(bar) P_MIN " + grid, "--convert"},
         {"T,\"Level, m\",Q/m3/h\n" + body, ",.|LEVEL(m) Q(m3/h) " + grid, ""},
         {"T,Lvl (Avg),Lvl (Avg)\n" + body, ",.|LVL_(AVG) LVL_(AVG)2 " + grid, ""},
         {"T,P,Q\ns,kPa,rps\n" + body, ",.|P(kPa) Q(rps) " + grid, ""},
         {"Well test,5,x\n\nT,Downhole pressure,Downhole pressure\n" + body,
          ",.|DOWNHOLE_P DOWNHOLE_2 " + grid, "\"Downhole pressure\" -> DOWNHOLE_P"},
         {"# logger\n# T,P,Q\n# s,psi,gpm\n" + body, ",.|P(psi) Q(gpm) " + grid, "1 line of preamble"},
         {body, ",.|COL2 COL3 |COL1 s|0+100x4", "COL1, COL2 ..."},
         {"T,P,Unit\n0,1.5,psi\n1,2.5,psi\n2,3.5,psi\n", ",.|P(psi) |T s|0+100x3", "text in column Unit"},
         {"Time (min),P #2 (psi),T [12]\n" + body, ",.|P_#2(psi) T_[12] |Time min|0+6000x4", ""},
         {"and much more prose\nT P Q\n0 1 2\n1 2 3\n2 5 4\n3 2 1\n", "blanks.|P Q " + grid,
          "1 line of preamble"},
         {"T,Flow_m3/h,v_m/s\n" + body, ",.|FLOW(m3/h) V(m/s) " + grid, ""},
         {"% T P Q\n0 1 9.5\n1 2 8\n2 3 9\n3 4 7\n", "blanks.|P Q " + grid, ""},
         {"T,P,Q,Spare\n" + body, ",.|P Q " + grid, "line 1 has a name beyond the last column: \"Spare\""},
         {"t;\xCF\x80\xCE\xAF;\xC5\xBA\xD0\xB6\n0;1;9\n1;2;8\n2;3;9\n3;4;7\n",
          ";.|\xCE\xA0\xCE\x8A \xC5\xB9\xD0\x96 |t s|0+100x4", ""},
         {"UNIT: kPa\nT,P,Q\n" + body, ",.|P Q " + grid, "line 1: \"UNIT: kPa\" names no column"},
         {"P\nUNIT: psi\nT,P,Q\n" + body, ",.|P(psi) Q " + grid, ""}});
}

TEST(Plan, FindsTheTime) {
    const auto at = [](const std::string& head, const std::vector<std::string>& times) {
        std::string text = head + ",P\n";
        for (const std::string& time : times)
            text += time + ",1.5\n";
        return text;
    };
    ExpectPlans(
        {{at("When", {"14.03.2024 09:30:00", "14.03.2024 09:30:01", "14.03.2024 09:30:02"}),
          ",.|P |When dmy|0+100x3|2024-03-14T09:30:00", ""},
         {at("Date,Time", {"3/14/24,1:59:59 PM", "3/14/24,2:00:00 PM", "3/14/24,2:00:01 PM"}),
          ",.|P |Date Time mdy|0+100x3|2024-03-14T13:59:59", ""},
         {at("Clock,Date", {"23:59:59,2024-12-31", "00:00:00,2025-01-01", "00:00:01,2025-01-01"}),
          ",.|P |Date Clock ymd|0+100x3|2024-12-31T23:59:59", ""},
         {at("Clock", {"23:59:59", "00:00:00", "00:00:01"}), ",.|P |Clock |0+100x3", "once past midnight"},
         {at("Clock", {"59:59.5", "00:00.0", "00:00.5"}), ",.|P |Clock |50+50x3", "full hour"},
         {at("Date,Time,ms", {"2024/3/4,1:00:00,500", "2024/3/4,1:00:00,750", "2024/3/4,1:00:01,0"}),
          ",.|P |Date Time ms ymd|50+25x3|2024-03-04T01:00:00", "milliseconds"},
         {at("Time,Elapsed (s)", {"09:30:00,0", "09:30:00,0.5", "09:30:01,1"}), ",.|P |Elapsed Time s|0+50x3",
          "the clock repeats"},
         {at("ts", {"1710408600", "1710408601", "1710408602"}), ",.|P |ts s|0+100x3|2024-03-14T09:30:00", ""},
         {at("t", {"1710408600500", "1710408601500", "1710408602500"}),
          ",.|P |t ms|50+100x3|2024-03-14T09:30:00", ""},
         {at("Hours", {"0", "0.5", "1"}),
          "the median step of 1800 s is longer than the longest of a grid, 327.67 s "
          "(--step 30000)",
          ""},
         {at("time_min", {"0", "0.5", "1"}), ",.|P |time min|0+3000x3", ""},
         {at("t (m)", {"0", "1", "2"}), "column t: \"m\" is no unit of time (--time-unit s|ms|min|h|d)", ""},
         {at("time_us", {"0", "100", "200"}),
          "column time_us: \"us\" is no unit of time (--time-unit s|ms|min|h|d)", ""},
         {at("Epoch (UTC)", {"1710408600", "1710408601", "1710408602"}),
          ",.|P |Epoch s|0+100x3|2024-03-14T09:30:00", ""},
         {at("ts", {"3793253400", "3793253401", "3793253402"}), ",.|P |ts s|0+100x3|2090-03-15T09:30:00",
          "which the database stores as 2038-01-19T03:14:07"},
         {at("UTC,Site",
             {"2024-03-14 09:30:00,2024-03-14 10:30:00", "2024-03-14 09:30:01,2024-03-14 10:30:01",
              "2024-03-14 09:30:02,2024-03-14 10:30:02"}),
          ",.|P |UTC ymd|0+100x3|2024-03-14T09:30:00", "left out, dates or clocks in column Site"},
         {at("T,1", {"0,5", "1,6", "2,7"}), ",.|1 P |T s|0+100x3", ""},
         {at("Time", {"45365.1", "45365.2", "45365.3"}),
          "column Time rises by less than 1 from 45365.1: days or seconds? (--time-unit d or s)", ""},
         {at("No,X", {"1,0", "2,2", "3,4"}), ",.|NO P |X s|0+200x3", "rises evenly"},
         {at("Depth (m)", {"100", "100.1524", "100.3048"}), ",.|P |Depth m|32808+50x3", ""},
         {at("When", {"20240314 093000", "20240314 093001", "20240314 093002"}),
          "column When: \"20240314 093000\" is no date or clock that is known (--time COL --time-format FMT)",
          ""},
         {at("When", {"20240314093000", "20240314093001", "20240314093002"}),
          "column When: \"20240314093000\" is no number of seconds: a date? (--time COL --time-format FMT)",
          ""},
         {at("Date,Time", {"2024-03-14,093058", "2024-03-14,093059", "2024-03-14,093100"}),
          "column Time: \"093058\": seconds or hhmmss? (--time-unit s, or --time COL,COL --time-format FMT)",
          ""},
         {at("Time", {"100058", "100059", "100100"}),
          "column Time: \"100058\": seconds or hhmmss? (--time-unit s, or --time COL,COL --time-format FMT)",
          ""},
         {at("Time", {"100100", "100200", "100300"}), ",.|P |Time s|10010000+10000x3", ""},
         {at("Heure", {"10h58", "10h59", "11h00"}),
          "column Heure: \"10h58\" is no date or clock that is known (--time COL --time-format FMT)", ""},
         {at("Clock", {"09:30", "09:31", "09:32"}), ",.|P |Clock |0+6000x3", "read as hours and minutes"},
         {at("A,B", {"4,7", "2,9", "3,1"}), "no column tells the time (--time COL)", ""},
         {at("D", {"05/06/2024 10:00", "05/06/2024 10:01", "05/06/2024 10:02"}),
          ",.|P |D dmy|0+6000x3|2024-06-05T10:00:00", "--date-order"},
         {at("D", {"12-11-10 23:59:59", "12-11-11 00:00:00", "12-11-11 00:00:01"}),
          ",.|P |D ymd|0+100x3|2012-11-10T23:59:59", "--date-order"},
         {at("D", {"2024-03-31T01:59:59+01:00", "2024-03-31T03:00:00+02:00", "2024-03-31T03:00:01+02:00"}),
          ",.|P |D ymd|0+100x3|2024-03-31T01:59:59", ""}});
}

TEST(Plan, JoinsTheColumnsOfATime) {
    ExpectPlans(
        {{"Day,Month,Year,Hour,Min,Sec,P\n13,3,2024,9,58,58,1\n13,3,2024,9,58,59,2\n13,3,2024,9,59,0,3\n",
          ",.|P |Year Month Day Hour Min Sec ymd|0+100x3|2024-03-13T09:58:58", "are joined to the time"},
         {"YY;MM;DD;hh;mm;P\n24;12;31;23;58;1\n24;12;31;23;59;2\n25;1;1;0;0;3\n",
          ";.|P |YY MM DD hh mm ymd|0+6000x3|2024-12-31T23:58:00", ""},
         {"Stunde,Minute,Sekunde,P\n23,59,59.25,1\n23,59,59.75,2\n0,0,0.25,3\n",
          ",.|P |Stunde Minute Sekunde |25+50x3", "once past midnight"},
         {"Hour,Min,Sec,P\n0,1,1,1\n0,1,0,2\n0,0,59,3\n", ",.|P |Hour Min Sec |0+100x3", "turned round"},
         {"Year,DOY,Time,P\n2024,60,9:58:59,1\n2024,60,9:59:00,2\n2024,60,9:59:01,3\n",
          ",.|P |Year DOY Time ymd|0+100x3|2024-02-29T09:58:59", ""},
         {"Date,Hour,Min,P\n13.03.2024,9,58,1\n13.03.2024,9,59,2\n13.03.2024,10,0,3\n",
          ",.|P |Date Hour Min dmy|0+6000x3|2024-03-13T09:58:00", ""},
         {"Y,M,D,h,m,t (s),P\n2024,3,13,9,58,0,1\n2024,3,13,9,58,1,2\n2024,3,13,9,58,2,3\n",
          ",.|P |t Y M D h m s|0+100x3|2024-03-13T09:58:00", "the clock repeats"},
         {"Year,Day,Hour,Sec,P\n2024,73,9,0,1\n2024,73,9,1,2\n2024,73,9,2,3\n",
          "column Sec may be a part of a time only (--time COL,COL --time-format FMT, or --time Sec)", ""},
         {"Time,Year,P\n09:58:59,2024,1\n09:59:00,2024,2\n09:59:01,2024,3\n",
          "a year but no whole date beside the clocks (--time COL,COL --time-format FMT)", ""},
         {"Sec,Min,Max\n0,12,14\n1,13,14\n2,14,15\n", ",.|MIN MAX |Sec sec|0+100x3", ""},
         {"Hours,Minutes,P\n0,0,1\n0.005,0.3,2\n0.01,0.6,3\n", ",.|MINUTES P |Hours hours|0+1800x3", ""}});
    Choices choices;
    choices.time = {"Hour", "Min", "Sec"};
    const std::string head = "Day,Month,Year,Hour,Min,Sec,P\n";
    ExpectPlans(
        {{head + "13,3,2024,0,0,1,1\n13,3,2024,0,0,2,2\n", ",.|DAY MONTH YEAR P |Hour Min Sec |0+100x2", ""},
         {head + "13,3,2024,0,0,1,1\n13,3,2024,0,77,2,2\n13,3,2024,0,0,3,3\n",
          "line 3: \"0\" is no time like those before (--leave-out 3)", ""}},
        choices);
    choices.time = {"Year", "Hour"};
    ExpectPlans({{head + "13,3,2024,1,0,1,1\n13,3,2025,2,0,2,2\n",
                  "the columns of --time make no whole time (--time-format FMT)", ""}},
                choices);
}

TEST(Plan, TakesNoRowForNamesAndNoValueToAnotherTime) {
    const std::string body = "1,1.5,3\n2,2.5,4\n3,3.5,9\n4,4.5,8\n";
    const std::string strange = " in column 2 of what looks like a row (--null Bad, --leave-out ";
    ExpectPlans(
        {{"T,P,Q\n0,Bad,1\n" + body, "line 2: \"Bad\"" + strange + "2, or --header-line 2)", ""},
         {"0,Bad,1\n" + body, "line 1: \"Bad\"" + strange + "1, or --header-line 1)", ""},
         {"T,P\n-0:00:01,0.5\n0:00:00,1.5\n0:00:01,2.5\n0:00:02,3.5\n",
          "line 2: \"-0:00:01\" in column 1 of what looks like a row (--leave-out 2, or --header-line 2)",
          ""},
         {"Time;P;Time;Q\n0;1;0;5\n1;3;10;6\n2;4;20;5\n",
          "column #3, Time, tells other times than column #1: tables side by side? One at a "
          "time (--time, --curves)",
          ""},
         {"Time (s);P;Time (min);Q\n0;1;5;5\n60;3;6;6\n120;4;7;5\n", ";.|P TIME(min) Q |Time s|0+6000x3", ""},
         {"Sent,P,Seen\n2024-03-14 09:30:00,1,2024-03-14 09:30:01\n2024-03-14 09:30:01,1,2024-03-14 "
          "09:30:09\n2024-03-14 09:30:02,1,2024-03-14 09:30:10\n",
          ",.|P |Sent ymd|0+100x3|2024-03-14T09:30:00", "#3, Seen, tells other times than column #1, Sent"},
         {"D;P\n2024-03-14 09:30:00;1'250,5\n2024-03-14 09:30:01;1'251,5\n2024-03-14 09:30:02;1'252,5\n",
          "no column of numbers beside the time: line 2: \"1'250,5\" in column P is no number", ""}});
    Choices choices;
    choices.nulls = {"bad"};
    ExpectPlans({{"T,P,Q\n0,Bad,1\n" + body, ",.|P Q |T s|0+100x5", ""}}, choices);
    choices = {};
    choices.leaveOut = {{1, 1}};
    ExpectPlans({{"0,Bad,1\n" + body, ",.|COL2 COL3 |COL1 s|100+100x4", ""}}, choices);
    choices = {};
    choices.curves = {{"P", "", ""}};
    ExpectPlans({{"Time;P;Time;Q\n0;1;0;5\n1;3;10;6\n2;4;20;5\n", ";.|P |Time s|0+100x3", "tells other"}},
                choices);
}

TEST(Plan, LeavesOutWhatIsNoRowAndSaysSo) {
    const std::string head = "T,P\n" + rows;
    ExpectPlans(
        {{head + "\nEnd of data\nMean,3\n", ",." + plain, "without time at the end"},
         {head + "40,1", ",." + plain, "cut row at the end (line 42)"},
         {head + "T,P\n40,1.5\n# stop\n41,1.5\n", ",.|P |T s|0+100x42", "header again (line 42)"},
         {"T,P\n0,#REF!\n1,1.5\nT,P\n2,2.5\nT,P\n3,3.5\nT,P\n", ",.|P |T s|0+100x4",
          "again (3 lines from line 4)"},
         {"P,T\n#N/A,0\n1.5,1\n2.5,2\n", ",.|P |T s|0+100x3", ""},
         {head + "39,39.5\n40,5.5\n", ",.|P |T s|0+100x41", "equal to the one before (line 42)"},
         {head + "40,5.5\r\n40,5.5\n", ",.|P |T s|0+100x41", "equal to the one before (line 43)"},
         {head + "40,5.5\r\n# stop\r\n40,5.5\r\n", ",.|P |T s|0+100x41", "equal to the one before (line 44)"},
         {head + "40,1.5,9\n41,1.5,9\n42,1.5,9\n", ",.|P |T s|0+100x43", "from line 42 on"},
         {head + "40,x\n41,1.5\n", "line 42: \"x\" in column 2 is no number (--null x, or --leave-out 42)",
          ""},
         {head + "40,is off\n41,1.5\n", "line 42: \"is off\" in column 2 is no number (--leave-out 42)", ""},
         {head + "40,1.5,2\n41,1.5\n", "line 42: more than 2 cells (--leave-out 42)", ""},
         {head + "38,1.5\n40,1.5\n",
          "line 42: its time is not behind that of line 41 (--leave-out 42, or --step CS for means)", ""},
         {head + "40,1e39\n41,1.5\n", "line 42: \"1e39\" in column P is beyond single precision", ""},
         {head + "40,-9999\n41,N/A\n42,#REF!\n43,1.#QNAN\n44,2.5\n", ",.|P |T s|0+100x45", "--null -9999"}});
    Choices choices;
    choices.leaveOut = {{42, 43}};
    choices.nulls = {"-9999"};
    const ImportPlan plan = PlanOf(head + "40,x\nx,5\n42,-9999\n43,8.5\n", choices);
    const std::vector<float> values = CurveOf(plan, 0);
    ASSERT_EQ(values.size(), 44U);
    EXPECT_EQ(std::vector<float>(values.begin() + 39, values.end()),
              (std::vector<float>{39.5F, noSample, noSample, noSample, 8.5F}));
}

TEST(Plan, ChoicesOverrideWhatIsFound) {
    Choices choices;
    choices.time = {"#2"};
    choices.timeUnit = "ms";
    choices.curves = {{"q", "FLOW", "kPa"}};
    choices.convert = true;
    choices.shift = 10.0;
    const ImportPlan plan = PlanOf("A,B,Q (x)\n1,0,100\n2,500,200\n3,1000,300\n", choices);
    EXPECT_EQ(Summary(plan), ",.|FLOW(psi) |B ms|1000+50x3");
    EXPECT_FLOAT_EQ(CurveOf(plan, 0)[0], 14.5037738F);
    const auto summary = [](const std::string& text, const std::function<void(Choices&)>& choose) {
        Choices chosen;
        choose(chosen);
        return Summary(PlanOf(text, chosen));
    };
    EXPECT_EQ(summary("T;\xE9\n0;1\n1;2\n2;4\n", [](Choices& c) { c.encoding = "latin1"; }),
              ";.|\xC3\x89 |T s|0+100x3");
    EXPECT_EQ(summary("T,P\n" + rows, [](Choices& c) { c.encoding = "no-such"; }),
              "--encoding no-such: there is no such encoding");
    const std::string twoHeads = "a,b\nT,P\n" + rows;
    EXPECT_EQ(summary(twoHeads, [](Choices& c) { c.headerLine = 1; }), ",.|B |a s|0+100x40");
    EXPECT_EQ(summary(twoHeads,
                      [](Choices& c) {
                          c.names = {"t (min)", "Q (bar)"};
                      }),
              ",.|Q(bar) |t min|0+6000x40");
    EXPECT_EQ(summary("T,P\n" + rows,
                      [](Choices& c) {
                          c.names = {"a", "b", "c"};
                      }),
              "--names gives 3 names to 2 columns");
    const auto packed = [](Choices& c) { c.time = {"D", "C"}, c.timeFormat = "%Y%m%d %H%M%S"; };
    EXPECT_EQ(summary("D,C,P\n20240314,093059,1\n20240314,093100,2\n20240314,093101,3\n", packed),
              ",.|P |D C ymd|0+100x3|2024-03-14T09:30:59");
    EXPECT_EQ(summary("D,C,P\n20240314,9.30,1\n20240314,9.31,2\n20240314,9.32,3\n", packed),
              "line 2: \"20240314\" does not fit --time-format %Y%m%d %H%M%S (--leave-out 2)");
    std::string holes = "T,P\n0,1\n";
    for (int i = 1; i < 400000; ++i)
        holes += std::to_string(i) + ",\n";
    EXPECT_EQ(summary(holes + "400000,5\n", [](Choices& c) { c.fill = 400000.0; }),
              "--fill 400000 takes more rows than can be held: at most 314572 for this file");
    Choices twice;
    twice.curves = {{"P", "", ""}, {"#2", "AGAIN", ""}};
    EXPECT_EQ(Summary(PlanOf("T,P\n" + rows, twice)), "column P is chosen twice (--curves)");
    Choices unknown;
    unknown.time = {"nowhere"};
    EXPECT_EQ(Summary(PlanOf("T,P\n" + rows, unknown)), "there is no column \"nowhere\" among T, P");
}

TEST(Plan, AllProblemsAreToldAtOnce) {
    const ImportPlan plan =
        PlanOf("T,P\n" + rows + "38,4.5\n47,x\n49.3,1.5\n60.7,3.5\n80.2,1e40\n95.4,1.5\n");
    EXPECT_TRUE(Tells(plan, "no number"));
    EXPECT_TRUE(Tells(plan, "not behind"));
    EXPECT_TRUE(Tells(plan, "events"));
    EXPECT_TRUE(Tells(plan, "beyond single"));
    EXPECT_FALSE(PlanJson(plan)["problems"].empty());
}

TEST(Plan, RefusesLinesAndTablesBeyondAllMeasure) {
    EXPECT_EQ(Summary(PlanOf("T,P\n0," + std::string(2 << 20, '1'))), "line 2 is longer than 1 MiB");
    EXPECT_EQ(Summary(PlanOf(std::string(900000, ',') + "\n0" + std::string(900000, ','))),
              "line 1: more than 4096 columns");
}

}  // namespace
}  // namespace dravik
