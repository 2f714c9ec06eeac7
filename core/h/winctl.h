// winctl.h: controls that the framework knows by their class.
#ifndef WINCTL_H
#define WINCTL_H

#include "window.h"

/// A tree view; the keys of a label that is being edited go to the label.
class CVCORE_API STreeViewExCtrl : public SWnd {
    S_DECLARE_DYNCREATE(STreeViewExCtrl)
};

/// A list view, with the same for its labels.
class CVCORE_API SListViewCtrl : public SWnd {
    S_DECLARE_DYNCREATE(SListViewCtrl)
};

#endif
