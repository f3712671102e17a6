#ifndef WINDOWACCESS_H
#define WINDOWACCESS_H

#include "widget.h"

#include <QMap>
#include <QVector>

class QMessageBox;
class QStandardItemModel;
class QTimer;

// What the window and its worker keep to themselves, by reference and without a hook in them.

QTimer *&pollTimerOf(Widget &window);
QTimer *&rebootTimerOf(Widget &window);
QStandardItemModel *&operationModelOf(Widget &window);
QMessageBox *&msgBoxOf(Widget &window);
myThread *&workerOf(Widget &window);
bool &endGameOf(Widget &window);
QMap<QString, _system_CMD> &cmdMapOf(Widget &window);
QVector<_system_CMD> &runListOf(Widget &window);

/// Runs the worker's batch on the calling thread.
void runBatchOf(myThread &worker);

#endif
