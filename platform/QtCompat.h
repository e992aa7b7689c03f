// What differs between Qt 4.8 and Qt 5.15; the only place that asks for the version.
#ifndef PLATFORM_QTCOMPAT_H
#define PLATFORM_QTCOMPAT_H

#include <QtCore/QtGlobal>

// As a number: moc of Qt 4 does not evaluate QT_VERSION_CHECK.
#if QT_VERSION < 0x050000

// Qt 5 carries a plug-in's identity in its meta-object; in Qt 4 there is nothing to declare, and the
// library brings its own instance function.
#define Q_PLUGIN_METADATA(x)

#include <QtCore/QPointer>

#define QUOR_PLUGIN_INSTANCE(ClassName)                                                                                \
    extern "C" Q_DECL_EXPORT QObject *qt_plugin_instance()                                                             \
    {                                                                                                                  \
        static QPointer<QObject> guard;                                                                                \
        if (!guard)                                                                                                    \
            guard = new ClassName;                                                                                     \
        return guard;                                                                                                  \
    }

// A pixmap of a HICON.
#define QUOR_PIXMAP_FROM_WIN_HICON(icon) QPixmap::fromWinHICON(icon)

#else

// moc writes the same function from Q_PLUGIN_METADATA.
#define QUOR_PLUGIN_INSTANCE(ClassName)

#define QUOR_PIXMAP_FROM_WIN_HICON(icon) qt_pixmapFromWinHICON(icon)

#endif

#endif
