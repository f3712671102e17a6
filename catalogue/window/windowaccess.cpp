#include "window/windowaccess.h"

namespace
{

using CommandMap = QMap<QString, _system_CMD>;
using RunList = QVector<_system_CMD>;
using Batch = void (myThread::*)();

Batch batch();
template <Batch Pointer>
struct AccessBatch {
    friend Batch batch()
    {
        return Pointer;
    }
};
template struct AccessBatch<&myThread::runBatch>;

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): a type in parentheses is none
// Defines the function of the header that returns a member. The arguments of an explicit instantiation are
// not subject to access control, so that it may hand the private member's place to the friend.
#define WINDOW_MEMBER(Type, member)                                                                          \
    static Type Widget::*member();                                                                           \
    template <Type Widget::*Pointer>                                                                         \
    struct Access_##member {                                                                                 \
        friend Type Widget::*member()                                                                        \
        {                                                                                                    \
            return Pointer;                                                                                  \
        }                                                                                                    \
    };                                                                                                       \
    template struct Access_##member<&Widget::member>;                                                        \
    Type &member##Of(Widget &window)                                                                         \
    {                                                                                                        \
        return window.*member();                                                                             \
    }
// NOLINTEND(bugprone-macro-parentheses)

WINDOW_MEMBER(QTimer *, pollTimer)
WINDOW_MEMBER(QTimer *, rebootTimer)
WINDOW_MEMBER(QStandardItemModel *, operationModel)
WINDOW_MEMBER(QMessageBox *, msgBox)
WINDOW_MEMBER(myThread *, worker)
WINDOW_MEMBER(bool, endGame)
WINDOW_MEMBER(CommandMap, cmdMap)
WINDOW_MEMBER(RunList, runList)

void runBatchOf(myThread &worker)
{
    (worker.*batch())();
}
