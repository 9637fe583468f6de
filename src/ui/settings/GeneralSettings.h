#pragma once

#include "config/AppConfig.h"

#include <QList>
#include <QWidget>

class AppState;
class DefaultMailAppSection;
class QCheckBox;
class QToolButton;
class Stepper;
class Updater;

// The General tab: reading and composing habits, the default email app, updates and where the
// settings file is. Each control writes its key to the settings file at once.
class GeneralSettings : public QWidget
{
    Q_OBJECT
public:
    // Without an updater the Updates section is left out.
    GeneralSettings(AppState* state, Updater* updater, QWidget* parent = nullptr);

    DefaultMailAppSection* defaultMailApp() const { return m_defaultMailApp; }
    QCheckBox* automaticUpdates() const { return m_automaticUpdates; }
    QToolButton* configFileButton() const { return m_configFile; }

private:
    struct Toggle
    {
        QCheckBox* box;
        bool AppConfig::*key;
    };
    struct Step
    {
        Stepper* stepper;
        qint64 AppConfig::*key;
    };

    void addToggle(class QVBoxLayout* column, const QString& text, bool AppConfig::*key,
                   const QString& name);
    void addStepper(class QVBoxLayout* column, Stepper* stepper, qint64 AppConfig::*key,
                    const QString& name, const QString& accessibleName);
    void showConfig();

    AppState* m_state;
    QList<Toggle> m_toggles;
    QList<Step> m_steppers;
    DefaultMailAppSection* m_defaultMailApp;
    QCheckBox* m_automaticUpdates = nullptr;
    QToolButton* m_configFile;
};
