#include "app/frmPlan.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <array>

#include "app/WindowPlace.h"
#include "db/modSelectData.h"
#include "general/AtomicFile.h"
#include "general/DelimitedText.h"
#include "general/modGeneral.h"
#include "plot/LogChart.h"
#include "signal/modParameters.h"
#include "ui_frmPlan.h"

namespace vorela {
namespace {

constexpr const char* spinnerInput = "spinner";
constexpr const char* valveInput = "ownValve";

constexpr int widthOfTwoColumns = 1100;

constexpr PenDescription blueLine{LineStyle::solid, 2, {0, 0, 255}};
constexpr PenDescription redLine{LineStyle::solid, 2, {255, 0, 0}};

QString FromText(const std::string& text) {
    return QString::fromStdString(text);
}

/// A line over the periods; `value` gives what a result has there.
template <typename Value>
ChartLine LineOver(const std::vector<PlanPoint>& points, const char* caption, const PenDescription& pen,
                   const Value& value) {
    ChartLine line{caption, pen, {}};
    for (const PlanPoint& point : points)
        line.values.push_back(point.result ? std::optional<double>(value(*point.result)) : std::nullopt);
    return line;
}

LogChart ChartOf(const PlanInputs& inputs, const std::vector<PlanPoint>& points) {
    constexpr double none = 0.0;  // not drawn on a logarithmic axis
    const auto upper = [](const PlanResult& plan) -> const PlanLevel& {
        return plan.harmonics.front().upper;
    };
    const auto best = [](const PlanResult& plan) -> const ExactEstimate& {
        return plan.Recommended().estimate;
    };
    LogChart chart;
    chart.acrossCaption = "Period (s), at the same time on the level";
    for (const PlanPoint& point : points)
        chart.across.push_back(point.period);
    chart.marker = inputs.period;
    chart.panels = {
        {{LineOver(points, "Error of ln k", blueLine,
                   [&](const PlanResult& plan) { return best(plan).sigmaLnPermeability.value_or(none); }),
          LineOver(points, "Error of skin", redLine,
                   [&](const PlanResult& plan) { return best(plan).sigmaSkin.value_or(none); })}},
        {{LineOver(points, "Radius (ft)", blueLine, [](const PlanResult& plan) { return plan.radius; }),
          LineOver(points, "Lag (degrees)", redLine, [](const PlanResult& plan) { return plan.lag; })}},
        {{LineOver(points, "Pressure (psi)", redLine,
                   [&](const PlanResult& plan) { return upper(plan).pressure; }),
          LineOver(points, "Flow (rps)", blueLine,
                   [&](const PlanResult& plan) { return upper(plan).flow; })}}};
    if (inputs.wanted)
        chart.panels.push_back(
            {{LineOver(points, "Cycles needed", blueLine,
                       [](const PlanResult& plan) { return static_cast<double>(*plan.cyclesWanted); }),
              LineOver(points, "Hours needed", redLine,
                       [](const PlanResult& plan) { return plan.hoursOnLevel; })}});
    return chart;
}

/// Where the Tab key stops, in its order.
std::vector<QWidget*> TabStops(const QWidget& window) {
    std::vector<QWidget*> stops;
    for (QWidget* next = window.nextInFocusChain(); next != &window; next = next->nextInFocusChain())
        if ((next->focusPolicy() & Qt::TabFocus) != 0 && next->focusProxy() == nullptr)
            stops.push_back(next);
    return stops;
}

}  // namespace

frmPlan::frmPlan(QWidget* parent) : QDialog(parent), ui_(std::make_unique<Ui::frmPlan>()) {
    ui_->setupUi(this);
    LetViewsShrink(*this);
    results_ = TabStops(*this);
    BuildBoxes();
    Arrange(width() >= widthOfTwoColumns);
    connect(ui_->cmdOK, &QPushButton::clicked, this, &frmPlan::accept);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmPlan::reject);
    connect(ui_->cmdParameters, &QPushButton::clicked, this, &frmPlan::TakeParameters);
    connect(ui_->cmdCopy, &QPushButton::clicked, this, &frmPlan::Copy);
    connect(ui_->cmdSave, &QPushButton::clicked, this, &frmPlan::Save);
    FillIn(ShowPlan());
    Calculate();
    ui_->scrInputs->setFocusPolicy(Qt::NoFocus);  // it follows the boxes that have the focus
    groups_.front()->findChild<QLineEdit*>()->setFocus();
}

frmPlan::~frmPlan() = default;

// --- Boxes ---

void frmPlan::BuildBoxes() {
    std::array<QFormLayout*, planGroupCount> groups{};
    for (const PlanBox& box : PlanBoxes()) {
        QFormLayout*& group = groups.at(static_cast<std::size_t>(box.group));
        if (group == nullptr) {
            auto* frame = new QGroupBox(tr(PlanGroupName(box.group)), this);
            group = new QFormLayout(frame);
            group->setVerticalSpacing(2);
            group->setContentsMargins(6, 2, 6, 4);
            groups_.push_back(frame);
        }
        QWidget* const control = MakeControl(box);
        control->setToolTip(FromText(PlanMeaning(box.input)));
        if (box.input == std::string(valveInput))
            group->addRow(control);
        else
            group->addRow(tr(box.caption) + (*box.unit == 0 ? QString() : " (" + tr(box.unit) + ")"),
                          control);
    }
}

void frmPlan::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    Arrange(width() >= widthOfTwoColumns);
}

void frmPlan::Arrange(bool wide) {
    if (isWide_ == wide)
        return;
    isWide_ = wide;
    for (QLayout* column : {static_cast<QLayout*>(ui_->layFirst), static_cast<QLayout*>(ui_->laySecond)})
        while (const std::unique_ptr<QLayoutItem> item{column->takeAt(0)}) {
        }
    for (std::size_t i = 0; i < groups_.size(); ++i) {
        const auto group = static_cast<PlanGroup>(i);
        const bool second = wide && (group == PlanGroup::well || group == PlanGroup::test);
        (second ? ui_->laySecond : ui_->layFirst)->addWidget(groups_[i]);
    }
    ui_->layFirst->addStretch();
    ui_->laySecond->addStretch();
    ui_->layInputs->setSpacing(wide ? -1 : 0);
    ui_->layInputs->activate();
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    ui_->scrInputs->setFixedWidth(ui_->wgtInputs->minimumSizeHint().width() + bar);
    OrderTabs();
}

// Down the first column, down the second, then the results: the boxes are younger than the form.
void frmPlan::OrderTabs() {
    std::vector<QWidget*> order;
    for (const QLayout* column :
         {static_cast<QLayout*>(ui_->layFirst), static_cast<QLayout*>(ui_->laySecond)})
        for (int i = 0; i < column->count(); ++i)
            if (const QWidget* group = column->itemAt(i)->widget())
                for (QWidget* box : group->findChildren<QWidget*>())
                    if ((box->focusPolicy() & Qt::TabFocus) != 0)
                        order.push_back(box);
    order.insert(order.end(), results_.begin(), results_.end());
    for (std::size_t i = 1; i < order.size(); ++i)
        setTabOrder(order[i - 1], order[i]);
}

QWidget* frmPlan::MakeControl(const PlanBox& box) {
    if (box.input == std::string(spinnerInput)) {
        auto* types = new QComboBox(this);
        types->setObjectName("cboSpinner");
        for (const SpinnerType& type : SpinnerTypes())
            types->addItem(QString::fromUtf8(type.name));
        connect(types, &QComboBox::currentIndexChanged, this, &frmPlan::Calculate);
        return types;
    }
    if (box.input == std::string(valveInput)) {
        auto* own = new QCheckBox(tr(box.caption), this);
        own->setObjectName("chkOwnValve");
        connect(own, &QCheckBox::toggled, this, &frmPlan::Calculate);
        return own;
    }
    constexpr int boxWidth = 84;
    auto* text = new QLineEdit(this);
    text->setObjectName(FromText(PlanControlName(box.input)));
    text->setFixedWidth(boxWidth);
    connect(text, &QLineEdit::textEdited, this, &frmPlan::Calculate);
    return text;
}

void frmPlan::FillIn(const PlanForm& form) {
    for (const auto& [input, text] : form) {
        if (input == spinnerInput) {
            const QSignalBlocker quiet(findChild<QComboBox*>("cboSpinner"));
            const auto type = NumberInRange(text, 0, static_cast<double>(SpinnerTypes().size()) - 1);
            findChild<QComboBox*>("cboSpinner")->setCurrentIndex(type ? static_cast<int>(*type) : -1);
        } else if (input == valveInput) {
            const QSignalBlocker quiet(findChild<QCheckBox*>("chkOwnValve"));
            findChild<QCheckBox*>("chkOwnValve")->setChecked(NumberInRange(text, 0, 0) == std::nullopt);
        } else {
            findChild<QLineEdit*>(FromText(PlanControlName(input)))->setText(FromText(text));
        }
    }
}

PlanForm frmPlan::Form() const {
    PlanForm form;
    for (const PlanBox& box : PlanBoxes()) {
        const auto* const text = findChild<QLineEdit*>(FromText(PlanControlName(box.input)));
        if (text != nullptr)
            form[box.input] = text->text().toStdString();
    }
    form[spinnerInput] = std::to_string(findChild<QComboBox*>("cboSpinner")->currentIndex());
    form[valveInput] = findChild<QCheckBox*>("chkOwnValve")->isChecked() ? "1" : "0";
    return form;
}

void frmPlan::TakeParameters() {
    PlanForm form = Form();
    for (const PlanField& field : PlanFields())
        if (const std::string text = PlanParameterText(field); !text.empty())
            form[field.name] = text;
    FillIn(form);
    Calculate();
}

// --- Results ---

void frmPlan::Calculate() {
    const PlanForm form = Form();
    findChild<QLineEdit*>("txtSlope")
        ->setEnabled(form.at(spinnerInput) == std::to_string(userDefinedSpinner));
    report_.clear();
    PlanInputs inputs;
    const auto refusal = ValidatePlan(form, inputs);
    ui_->tabResults->setEnabled(!refusal);
    if (!refusal) {
        ShowPlanned(inputs);
        return;
    }
    ui_->lblMessages->setText(FromText(refusal->message));
    for (ResultGridView* grid : {ui_->fgPeriods, ui_->fgSummary, ui_->fgLevels, ui_->fgMethods})
        grid->setRowCount(0);
    ui_->picPeriods->Show({}, FromText(refusal->message));
}

void frmPlan::ShowPlanned(const PlanInputs& inputs) {
    Attempt("Planning a test", [&] {
        const PlanResult plan = PlanTest(inputs);
        const std::vector<PlanPoint> points = PlanOverPeriods(inputs);
        TextRows summary{{"The test as planned", "Value"}};
        for (const auto& row : PlanSummaryRows(plan))
            summary.push_back(row);
        ui_->fgSummary->ShowTable(summary);
        ui_->fgLevels->ShowTable(PlanLevelRows(plan));
        ui_->fgMethods->ShowTable(PlanMethodRows(plan));
        ui_->fgPeriods->ShowTable(PlanPeriodRows(points));
        ui_->picPeriods->Show(
            [chart = ChartOf(inputs, points)](DrawingSurface& surface) { DrawLogChart(surface, chart); }, {});
        QStringList messages;
        for (const std::string& message : plan.messages)
            messages << FromText(message);
        ui_->lblMessages->setText(messages.join('\n'));
        report_ = PlanReport(Form(), plan, points);
    });
}

bool frmPlan::Checked() {
    PlanInputs inputs;
    const auto refusal = ValidatePlan(Form(), inputs);
    if (!refusal)
        return true;
    ShowRefusal(*refusal);
    if (auto* box = findChild<QLineEdit*>(FromText(refusal->control))) {
        box->setFocus();
        box->selectAll();
    } else if (auto* types = findChild<QComboBox*>("cboSpinner")) {
        types->setFocus();
    }
    return false;
}

void frmPlan::accept() {
    if (!Checked())
        return;
    KeepPlan(Form());
    QDialog::accept();
}

void frmPlan::Copy() {
    if (Checked())
        QApplication::clipboard()->setText(FromText(DelimitedText(report_, '\t')));
}

void frmPlan::Save() {
    if (!Checked())
        return;
    constexpr int commaSeparated = 1, tabSeparated = 2, resolution = 192;
    const auto choice = CurrentPorts().saveFile->AskSaveFile(
        {"Save Plan",
         "CSV File (*.csv)|*.csv|Text File (*.txt)|*.txt|PNG Picture (*.png)|*.png|SVG Drawing (*.svg)|*.svg|"
         "PDF Document (*.pdf)|*.pdf|",
         commaSeparated, "plan", FilesInUse()});
    if (!choice)
        return;
    Attempt("Saving the plan", [&] {
        // A name typed with an ending of its own means that, whatever the list of kinds says.
        if (!IsPictureName(choice->path)) {
            WriteFileAtomically(choice->path,
                                DelimitedText(report_, choice->filterIndex == tabSeparated ? '\t' : ','));
            return;
        }
        const PictureWidget& picture = *ui_->picPeriods;
        WritePicture(choice->path, {picture.width(), picture.height(), resolution, "Plan of a test"},
                     picture.Drawing());
    });
}

}  // namespace vorela
