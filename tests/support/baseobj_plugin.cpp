// A module of a client with a class of its own, loaded and freed by the test of the class list.
#include "baseobj.h"

class PluginPane : public SObject {
    S_DECLARE_DYNCREATE(PluginPane)
};
S_IMPLEMENT_DYNCREATE(PluginPane, SObject)
