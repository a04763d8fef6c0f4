"""What the package installs and in which order: the rows of its tables.

@NAME@ stands for what make_msi.py knows about the files at hand: @VERSION@ and
its like. ARCHITECTURES has what differs between the packages. Square brackets are
the installer engine's own notation: [#Library] is the full path of the file
"Library", [SystemFolder] a folder.

The layout on disk gives every version a folder of its own:

    C:\\Program Files\\Nimbrel Veskard Agent Explorer Extension\\
        VERSION\\VeskardShellExt.dll         for programs of the package's architecture
        VERSION\\x86\\VeskardShellExt.dll     for 32-bit programs
        VERSION\\shellprobe.exe
        VERSION\\VeskardExplorerCommand.dll  the commands in Explorer's own menu
        VERSION\\VeskardExplorerCommand.msix and the identity with which it shows them
        VERSION\\THIRD-PARTY-NOTICES.txt

A loaded library can be neither overwritten nor deleted, and a process that has
loaded C:\\...\\VeskardShellExt.dll gets that same module whenever it asks for
this path again, whatever file lies there by then. Since class identifiers carry
the version too, a path with the version in it is what lets a running Explorer
load the new library beside the old one, without a restart.

The order of an upgrade keeps the extension registered and makes failure cheap;
the steps marked * are there only where a version is installed already:

    files of the new version      a folder of its own: nothing is overwritten
  * its registration, a trial     the step that can fail; nothing is lost yet
  * removal of the old version    unregisters the old classes; this takes the
                                  icon handler's key, which all versions share
    registry values               those of the file type are kept by the removal,
                                  since both versions have them
    its registration              puts the icon handler's key back
    entry in the list of programs

The trial shows that the library loads and works before anything of the old version
is changed. When it fails, rollback removes only the new version's own files. A first
installation needs no trial, and writes its registry values first: among them is the
parent of the icon handler's key. Rollback goes backwards, finds that parent empty and
removes it.

Each of the two libraries registers itself, through the regsvr32 of its own half of
Windows and so in its own view of the registry. Keys outside CLSID exist once for
both; a library that unregisters leaves them while the other one's class exists. When
Windows has no 32-bit support, the 32-bit library is left out.

On Windows 11 the identity package is registered last and removed first, each time for
all users, with PowerShell, through a step in a library of the package's own that writes
into the log what PowerShell says. A refused identity costs the commands their place in
Explorer's own menu and nothing else, so its failure is passed over. On Windows 10 there
is one menu only, in which the identity would show every command twice. Before it is
registered, whatever has the same version is removed: a version that is registered
cannot be registered again.

The engine writes down what is to be done and does it at an InstallExecute. One
stands right behind the files: undone within one batch, the files would go before
the library in them has unregistered itself (Wine's engine does so).
"""

UPGRADE_CODE = "{7BA104CB-0C92-4640-B881-80CEB60898B6}"
# Product and component codes that change with the version are derived from this.
NAMESPACE = "2761a16f-8cd0-4a2a-90de-04df25fa3576"

PRODUCT = "Nimbrel Veskard Agent Explorer Extension"
FILE_TYPE = "Nimbrel Veskard Agent"
RECORD_KEY = "Software\\Nimbrel\\Explorer Extension"
CLASSES = "Software\\Classes\\"

LOCAL_MACHINE = 2

# Component attributes.
REGISTRY_IS_KEY_PATH = 4
FOR_64_BITS = 256

# File attributes: a file that cannot be repaired later fails the installation.
VITAL = 512

# Upgrade attributes.
MIGRATE_FEATURES = 1
ONLY_DETECT = 2

# A registry search for the value itself, in the 64-bit view.
RAW_VALUE_64 = 2 + 16

# The first build of Windows 11.
HAS_FIRST_LEVEL_MENU = "WINDOWS_BUILD >= 22000"
WANTS_FIRST_LEVEL_MENU = "FIRSTLEVELMENU <> \"0\""

# Custom actions: a library's function, a program started in a folder, or a property set; deferred ones
# run as part of the installation's script and as the system.
FUNCTION = 1
PROGRAM = 34
SET_PROPERTY = 51
IGNORE_FAILURE = 64
ON_ROLLBACK = 256
DEFERRED = 1024 + 2048

# file: folder, 8.3 name, name, condition; in this order in the cabinet. Each is a
# component of its own, which bears the file's name.
FILES = {
    "Library": ("VersionFolder", "VSKEXT.DLL", "VeskardShellExt.dll", ""),
    "Library32": ("Folder32", "VSKEXT.DLL", "VeskardShellExt.dll", "HALF_OF_32_BITS"),
    "Probe": ("VersionFolder", "VSKPROBE.EXE", "shellprobe.exe", ""),
    "Command": ("VersionFolder", "VSKCMD.DLL", "VeskardExplorerCommand.dll", ""),
    "Identity": ("VersionFolder", "VSKIDENT.MSX", "VeskardExplorerCommand.msix", ""),
    "Notices": ("VersionFolder", "NOTICES.TXT", "THIRD-PARTY-NOTICES.txt", ""),
}

# What the package carries for itself.
ICON = "product.ico"
STEPS = "InstallerSteps.dll"

# Braces and square brackets are the engine's own, so these commands have none.
POWERSHELL = ("\"[System64Folder]WindowsPowerShell\\v1.0\\powershell.exe\" -NoLogo -NoProfile -NonInteractive"
              " -ExecutionPolicy Bypass -Command \"$ErrorActionPreference = 'Stop';")
IDENTITY_FILE = "[VersionFolder]" + FILES["Identity"][2]
REGISTER_IDENTITY = (f"[PowerShell] Add-AppxPackage -Stage '{IDENTITY_FILE}' -ExternalLocation '[VersionFolder]';"
                     f" Add-AppxProvisionedPackage -Online -SkipLicense -PackagePath '{IDENTITY_FILE}' | Out-Null\"")
REMOVE_FOR_NEW_USERS = ("Get-AppxProvisionedPackage -Online | Where-Object PackageName -Like '@IDENTITY@_@VERSION@.0_*'"
                        " | Remove-AppxProvisionedPackage -Online | Out-Null")
REMOVE_IDENTITY = ("[PowerShell] [RemoveForNewUsers]; Get-AppxPackage -AllUsers @IDENTITY@"
                   " | Where-Object Version -EQ '@VERSION@.0' | Remove-AppxPackage -AllUsers\"")

# library: the folder of the regsvr32 that registers it, the property that names the one
# that an earlier version registered, condition.
LIBRARIES = {
    "Library": ("System64Folder", "EARLIER_LIBRARY", ""),
    "Library32": ("SystemFolder", "EARLIER_LIBRARY32", "HALF_OF_32_BITS"),
}

# package: the machine in the headers of its programs, the platform and the language that
# the engine reads, the oldest engine that knows them.
ARCHITECTURES = {
    "x64": (0x8664, "x64;1033", 500),
    "arm64": (0xAA64, "Arm64;1033", 500),
}
MACHINE_OF_32_BITS = 0x014C

# The values of the file type that the library leaves to installers. The agent's
# own installer may have written them too: then they stay as they are, and stay
# when this package goes. So each has a search for the value and one for this
# package's note that it wrote the value itself.
#
# name: key, data, condition under which it is this package's to write
FILE_TYPE_VALUES = {
    "Binding": (CLASSES + ".ghpl", FILE_TYPE, f"OWN_BINDING OR FOUND_BINDING <> \"{FILE_TYPE}\""),
    "TypeName": (CLASSES + FILE_TYPE, FILE_TYPE + " online-only file", "OWN_TYPENAME OR NOT FOUND_TYPENAME"),
    # "%1": each file has an icon of its own. The Shell asks an icon handler only then.
    "TypeIcon": (CLASSES + FILE_TYPE + "\\DefaultIcon", "%1", "OWN_TYPEICON OR FOUND_TYPEICON <> \"%1\""),
}
FILE_TYPE_COMPONENTS = {
    "Binding": "{F635AB0E-1514-4716-A183-98E3E57130F0}",
    "TypeName": "{4BB60D8D-535B-464E-A222-7FF2FA665C65}",
    "TypeIcon": "{9914F68D-3BDF-4684-8861-584F7D01C294}",
}
RECORD_COMPONENT = "{3F8A33FC-93AC-41E1-93BD-CA1E11B1EFE2}"
RECORD32_COMPONENT = "{A6B80670-CB3B-427B-AEFC-B51F675BDB87}"

# What the package looks up in the registry before it decides: property, key, value.
SEARCHES = [
    *((earlier, RECORD_KEY, library) for library, (_, earlier, _) in LIBRARIES.items()),
    ("WINDOWS_BUILD", "Software\\Microsoft\\Windows NT\\CurrentVersion", "CurrentBuildNumber"),
    ("KEPT_FIRSTLEVELMENU", RECORD_KEY, "FirstLevelMenu"),
    *(("FOUND_" + name.upper(), key, "") for name, (key, _, _) in FILE_TYPE_VALUES.items()),
    *(("OWN_" + name.upper(), RECORD_KEY, "Owns" + name) for name in FILE_TYPE_VALUES),
]

# The same of files: property, folder, file. Set where the file is.
FILE_SEARCHES = [("HALF_OF_32_BITS", "[SystemFolder]", "regsvr32.exe")]

# Whether an installed version, older or this one, is replaced.
REPLACES = "(OLDER_VERSION OR EARLIER_LIBRARY) AND NOT REMOVE"



def both(*conditions):
    return " AND ".join(f"({condition})" for condition in conditions if condition)


def registration(name, library, path, *, undo=False, ignore_failure=False, unregister=False):
    """A custom action in which a library registers itself through its export DllInstall, with "S"."""
    folder = LIBRARIES[library][0]
    kind = PROGRAM + DEFERRED + (ON_ROLLBACK if undo else 0) + (IGNORE_FAILURE if undo or ignore_failure else 0)
    switches = "/s /u /n /i:S" if unregister else "/s /n /i:S"
    return name, kind, folder, f'"[{folder}]regsvr32.exe" {switches} "{path}"'


def registrations(library, earlier):
    own = f"[#{library}]"
    yield registration("Prove" + library, library, own)
    yield registration("Register" + library, library, own)
    yield registration("Unregister" + library, library, own, unregister=True, ignore_failure=True)
    # Undoing runs backwards: the failed version's classes go, and then the version
    # that was there before takes the shared keys again.
    yield registration("UndoProve" + library, library, own, unregister=True, undo=True)
    yield registration("UndoRegister" + library, library, own, unregister=True, undo=True)
    yield registration("UndoReplace" + library, library, f"[{earlier}]", undo=True)
    yield registration("UndoUnregister" + library, library, own, undo=True)


def identity_actions():
    """Each step and the action that gives it its command; a step's data is the property of its name."""
    for name, kind, command in [("RegisterIdentity", 0, REGISTER_IDENTITY),
                                ("UnregisterIdentity", 0, REMOVE_IDENTITY),
                                ("UndoRegisterIdentity", ON_ROLLBACK, REMOVE_IDENTITY),
                                ("UndoUnregisterIdentity", ON_ROLLBACK, REGISTER_IDENTITY)]:
        yield "Set" + name, SET_PROPERTY, name, command
        yield name, FUNCTION + DEFERRED + IGNORE_FAILURE + kind, "Steps", "RunLogged"


def steps(first, condition, *names):
    """For each library the actions of these names in turn, numbered from the first on."""
    number = first
    for library, (_, _, library_condition) in LIBRARIES.items():
        for name in names:
            yield name + library, both(condition, library_condition), number
            number += 1


COSTING = [("CostInitialize", "", 800), ("FileCost", "", 900), ("CostFinalize", "", 1000)]
CHECKS = [
    ("FindRelatedProducts", "", 25),
    ("AppSearch", "", 50),
    ("KeepFirstLevelMenu", "NOT FIRSTLEVELMENU AND KEPT_FIRSTLEVELMENU", 60),
    ("DefaultFirstLevelMenu", "NOT FIRSTLEVELMENU", 61),
    ("LaunchConditions", "", 100),
]

TABLES = {
    "Property": [
        ("ProductName", PRODUCT),
        ("ProductVersion", "@VERSION@"),
        ("ProductCode", "@PRODUCT_CODE@"),
        ("ProductLanguage", "1033"),
        ("Manufacturer", "Nimbrel"),
        ("UpgradeCode", UPGRADE_CODE),
        ("ALLUSERS", "1"),
        ("ARPNOMODIFY", "1"),
        ("ARPPRODUCTICON", ICON),
        ("ARPCOMMENTS", "Commands and icons of synchronised folders in Explorer"),
        # Nothing here ever needs a restart to work, so none happens and no
        # program that has the library loaded is asked or made to close.
        ("REBOOT", "ReallySuppress"),
        ("MSIRESTARTMANAGERCONTROL", "Disable"),
        ("SecureCustomProperties", ";".join(["OLDER_VERSION", "NEWER_VERSION", "FIRSTLEVELMENU", *(row[0] for row in SEARCHES + FILE_SEARCHES)])),
    ],
    "LaunchCondition": [
        ("VersionNT64 >= 601", "[ProductName] needs 64-bit Windows 7 or later."),
        ("NOT NEWER_VERSION OR REMOVE", "A newer version of [ProductName] is installed already."),
    ],
    "Upgrade": [
        (UPGRADE_CODE, "0.0.0", "@VERSION@", "", MIGRATE_FEATURES, "", "OLDER_VERSION"),
        (UPGRADE_CODE, "@VERSION@", "", "", ONLY_DETECT, "", "NEWER_VERSION"),
    ],
    "Directory": [
        ("TARGETDIR", "", "SourceDir"),
        ("ProgramFiles64Folder", "TARGETDIR", "."),
        ("System64Folder", "TARGETDIR", "."),
        ("SystemFolder", "TARGETDIR", "."),
        ("ProductFolder", "ProgramFiles64Folder", "VSKEXT|" + PRODUCT),
        ("VersionFolder", "ProductFolder", "@SHORT_VERSION@|@VERSION@"),
        ("Folder32", "VersionFolder", "x86"),
    ],
    "Feature": [("Extension", "", PRODUCT, "", 1, 1, "", 8 + 16)],  # always whole, never advertised alone
    "FeatureComponents": [
        ("Extension", component)
        for component in [*FILES, *FILE_TYPE_VALUES, "Record", "Record32"]
    ],
    "Component": [
        *((name, f"@{name.upper()}_COMPONENT@", folder, FOR_64_BITS, condition, name)
          for name, (folder, _, _, condition) in FILES.items()),
        *((name, FILE_TYPE_COMPONENTS[name], "ProductFolder", FOR_64_BITS + REGISTRY_IS_KEY_PATH, condition, name)
          for name, (_, _, condition) in FILE_TYPE_VALUES.items()),
        ("Record", RECORD_COMPONENT, "ProductFolder", FOR_64_BITS + REGISTRY_IS_KEY_PATH, "", "RecordLibrary"),
        ("Record32", RECORD32_COMPONENT, "ProductFolder", FOR_64_BITS + REGISTRY_IS_KEY_PATH, "HALF_OF_32_BITS",
         "RecordLibrary32"),
    ],
    "Registry": [
        *((name, LOCAL_MACHINE, key, "", data, name) for name, (key, data, _) in FILE_TYPE_VALUES.items()),
        *(("Owns" + name, LOCAL_MACHINE, RECORD_KEY, "Owns" + name, "#1", name) for name in FILE_TYPE_VALUES),
        ("RecordLibrary", LOCAL_MACHINE, RECORD_KEY, "Library", "[#Library]", "Record"),
        ("RecordLibrary32", LOCAL_MACHINE, RECORD_KEY, "Library32", "[#Library32]", "Record32"),
        ("RecordFirstLevelMenu", LOCAL_MACHINE, RECORD_KEY, "FirstLevelMenu", "[FIRSTLEVELMENU]", "Record"),
        ("RecordVersion", LOCAL_MACHINE, RECORD_KEY, "Version", "@VERSION@", "Record"),
        # Unregistering deletes the handler's key and leaves this parent of it
        # empty; with a value of ours in it, it goes with the package.
        ("HandlerParent", LOCAL_MACHINE, CLASSES + FILE_TYPE + "\\shellex", "", "", "Record"),
    ],
    "AppSearch": [(name, name) for name, _, _ in SEARCHES + FILE_SEARCHES],
    "RegLocator": [(name, LOCAL_MACHINE, key, value, RAW_VALUE_64) for name, key, value in SEARCHES],
    "DrLocator": [(name, "", folder, 0) for name, folder, _ in FILE_SEARCHES],
    "Signature": [(name, file, "", "", "", "", "", "", "") for name, _, file in FILE_SEARCHES],
    "Icon": [(ICON, ICON)],
    "Binary": [("Steps", STEPS)],
    "Media": [(1, len(FILES), "", "#files.cab", "", "")],
    "CustomAction": [
        *(row for library, (_, earlier, _) in LIBRARIES.items() for row in registrations(library, earlier)),
        ("SetPowerShell", SET_PROPERTY, "PowerShell", POWERSHELL),
        ("SetRemoveForNewUsers", SET_PROPERTY, "RemoveForNewUsers", REMOVE_FOR_NEW_USERS),
        *identity_actions(),
        # What the command line does not say stays as it was, at first switched on.
        ("KeepFirstLevelMenu", SET_PROPERTY, "FIRSTLEVELMENU", "[KEPT_FIRSTLEVELMENU]"),
        ("DefaultFirstLevelMenu", SET_PROPERTY, "FIRSTLEVELMENU", "1"),
        ("SetInstallLocation", SET_PROPERTY, "ARPINSTALLLOCATION", "[VersionFolder]"),
        ("LeaveOut32Bits", SET_PROPERTY, "LEFT_OUT", "x86"),
    ],
    "ActionText": [
        *((action + library, "Registering the Explorer extension", "")
          for library in LIBRARIES for action in ("Prove", "Register")),
        *(("Unregister" + library, "Unregistering the Explorer extension", "") for library in LIBRARIES),
        ("RegisterIdentity", "Registering the commands for Explorer's own menu", ""),
        ("UnregisterIdentity", "Unregistering the commands for Explorer's own menu", ""),
        ("LeaveOut32Bits", "This Windows runs no 32-bit programs: the library for them is left out", ""),
    ],
    "InstallExecuteSequence": [
        *CHECKS,
        ("ValidateProductID", "", 700),
        *COSTING,
        ("SetInstallLocation", "", 1010),
        ("LeaveOut32Bits", "NOT HALF_OF_32_BITS AND NOT REMOVE", 1020),
        *(("Set" + name, "", number)
          for number, name in enumerate(["PowerShell", "RemoveForNewUsers", "RegisterIdentity", "UnregisterIdentity",
                                         "UndoRegisterIdentity", "UndoUnregisterIdentity"], 1030)),
        ("MigrateFeatureStates", "", 1200),
        ("InstallValidate", "", 1400),
        ("InstallInitialize", "", 1500),
        ("ProcessComponents", "", 1600),
        ("UnpublishFeatures", "", 1800),
        ("UndoUnregisterIdentity", both("Installed", HAS_FIRST_LEVEL_MENU, "KEPT_FIRSTLEVELMENU <> \"0\""), 1900),
        ("UnregisterIdentity", both("Installed", HAS_FIRST_LEVEL_MENU), 1910),
        *steps(2000, "REMOVE=\"ALL\"", "UndoUnregister", "Unregister"),
        ("RemoveRegistryValues", "", 2600),
        ("RemoveFiles", "", 3500),
        ("InstallFiles", "", 4000),
        ("InstallExecute", "", 4005),
        *(("UndoReplace" + library, both(earlier, condition, "NOT REMOVE"), number)
          for number, (library, (_, earlier, condition)) in enumerate(LIBRARIES.items(), 4010)),
        *steps(4020, REPLACES, "UndoProve", "Prove"),
        ("InstallExecuteAgain", "", 4100),
        ("RemoveExistingProducts", "", 4110),
        ("WriteRegistryValues", "", 5000),
        *steps(5010, "NOT REMOVE", "UndoRegister", "Register"),
        ("UndoRegisterIdentity", both("NOT REMOVE", HAS_FIRST_LEVEL_MENU, WANTS_FIRST_LEVEL_MENU), 5020),
        ("RegisterIdentity", both("NOT REMOVE", HAS_FIRST_LEVEL_MENU, WANTS_FIRST_LEVEL_MENU), 5030),
        ("RegisterUser", "", 6000),
        ("RegisterProduct", "", 6100),
        ("PublishFeatures", "", 6300),
        ("PublishProduct", "", 6400),
        ("InstallFinalize", "", 6600),
    ],
    "InstallUISequence": [*CHECKS, ("ValidateProductID", "", 700), *COSTING, ("ExecuteAction", "", 1300)],
    # msiexec /a unpacks the files; msiexec /j and Group Policy advertise.
    "AdminExecuteSequence": [
        *COSTING,
        ("InstallValidate", "", 1400),
        ("InstallInitialize", "", 1500),
        ("InstallAdminPackage", "", 3900),
        ("InstallFiles", "", 4000),
        ("InstallFinalize", "", 6600),
    ],
    "AdvtExecuteSequence": [
        ("CostInitialize", "", 800),
        ("CostFinalize", "", 1000),
        ("InstallValidate", "", 1400),
        ("InstallInitialize", "", 1500),
        ("PublishFeatures", "", 6300),
        ("PublishProduct", "", 6400),
        ("InstallFinalize", "", 6600),
    ],
    # Title, subject, author, keywords, comments, platform and language, package
    # code, times, lowest engine version, compressed, program, read-only advised.
    "_SummaryInformation": [
        (1, 1252),
        (2, "Installation Database"),
        (3, PRODUCT + " @VERSION@"),
        (4, "Nimbrel"),
        (5, "Installer"),
        (6, "Installs the Explorer extension of the Nimbrel Veskard Agent for all users."),
        (7, "@PLATFORM@"),
        (9, "@PACKAGE_CODE@"),
        (12, "@DATE@"),
        (13, "@DATE@"),
        (14, "@ENGINE@"),
        (15, 2),
        (18, "msibuild"),
        (19, 2),
    ],
}
