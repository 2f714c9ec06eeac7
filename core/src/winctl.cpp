// winctl.cpp: controls that the framework knows by their class.
#include "winctl.h"

S_IMPLEMENT_DYNCREATE(STreeViewExCtrl, SWnd)
S_IMPLEMENT_DYNCREATE(SListViewCtrl, SWnd)
