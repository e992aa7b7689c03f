// The build key that the host's loader compares with its own, character for character, before it takes the library in.
#include <QtCore/QtGlobal>

extern "C" Q_DECL_EXPORT const char *qt_plugin_query_verification_data()
{
    return "pattern=QT_PLUGIN_VERIFICATION_DATA\n"
           "version=4.8.7\n"
           "debug=false\n"
           "buildkey=Windows x64 msvc release full-config";
}
