// Shows a settings document in a QTableView through the item model:
//   model_table examples/settings.xml
// With --print, prints the table's cells instead of showing a window.

#include <SettingsDocument.h>
#include <SettingsModel.h>

#include <QApplication>
#include <QTableView>

#include <cstdio>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 2) {
        std::fprintf(stderr, "usage: model_table FILE [--print]\n");
        return 2;
    }
    KVT317XML::LoadedDocument document = KVT317XML::LoadSettingsDocument(arguments.at(1));
    if (!document.record) {
        std::fprintf(stderr, "%s\n", qPrintable(document.error));
        return 1;
    }
    KVT317XML::SettingsModel model;
    model.SetDocument(std::move(document.record), std::move(document.findings));

    if (arguments.contains(QStringLiteral("--print"))) {
        for (int row = 0; row < model.rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < model.columnCount(); ++column)
                cells.append(model.headerData(column, Qt::Horizontal).toString() +
                             QStringLiteral(": ") + model.index(row, column).data().toString());
            std::printf("%s\n", qPrintable(cells.join(QStringLiteral(", "))));
        }
        return 0;
    }
    QTableView view;
    view.setModel(&model);
    view.resize(1000, 300);
    view.show();
    return application.exec();
}
