"""What the package installs and in which order: the rows of its tables.

@NAME@ stands for what make_msi.py knows about the files at hand: @VERSION@ and
its like. Square brackets are the installer engine's own notation: [#Library] is
the full path of the file "Library", [SystemFolder] a folder.

The layout on disk gives every version a folder of its own:

    C:\\Program Files\\Nimbrel Veskard Agent Explorer Extension\\
        VERSION\\VeskardShellExt.dll
        VERSION\\shellprobe.exe

A loaded library can be neither overwritten nor deleted, and a process that has
loaded C:\\...\\VeskardShellExt.dll gets that same module whenever it asks for
this path again, whatever file lies there by then. Since class identifiers carry
the version too, a path with the version in it is what lets a running Explorer
load the new library beside the old one, without a restart.

The order of an upgrade keeps the extension registered and makes failure cheap;
the steps marked * are there only where a version is installed already:

    files of the new version      a folder of its own: nothing is overwritten
  * its registration, a proof     the step that can fail; nothing is lost yet
  * removal of the old version    unregisters the old classes; this takes the
                                  icon handler's key, which all versions share
    registry values               those of the file type are kept by the removal,
                                  since both versions have them
    its registration              puts the icon handler's key back
    entry in the list of programs

The proof shows that the library loads and works before anything of the old version
is touched; when it fails, rollback has only the new version's own files to take
away. A first installation needs none, and writes its registry values first: among
them is the parent of the icon handler's key, and rollback, which goes backwards,
then finds that parent empty when it comes to it, and takes it away.

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

# Custom actions: a program started in a folder, or a property set; deferred ones
# run as part of the installation's script and as the system.
PROGRAM = 34
SET_PROPERTY = 51
IGNORE_FAILURE = 64
ON_ROLLBACK = 256
DEFERRED = 1024 + 2048

# The library registers itself through its export DllInstall, with "S".
REGISTER = "\"[System64Folder]regsvr32.exe\" /s /n /i:S \"%s\""
UNREGISTER = "\"[System64Folder]regsvr32.exe\" /s /u /n /i:S \"%s\""

# file: component, 8.3 name, name; in this order in the cabinet.
FILES = {
    "Library": ("Library", "VSKEXT.DLL", "VeskardShellExt.dll"),
    "Probe": ("Probe", "VSKPROBE.EXE", "shellprobe.exe"),
}

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

# What the package looks up before it decides: property, key, value.
SEARCHES = [
    ("EARLIER_LIBRARY", RECORD_KEY, "Library"),
    *(("FOUND_" + name.upper(), key, "") for name, (key, _, _) in FILE_TYPE_VALUES.items()),
    *(("OWN_" + name.upper(), RECORD_KEY, "Owns" + name) for name in FILE_TYPE_VALUES),
]

# Whether an installed version, older or this one, is replaced.
REPLACES = "(OLDER_VERSION OR EARLIER_LIBRARY) AND NOT REMOVE"

COSTING = [("CostInitialize", "", 800), ("FileCost", "", 900), ("CostFinalize", "", 1000)]
CHECKS = [("FindRelatedProducts", "", 25), ("AppSearch", "", 50), ("LaunchConditions", "", 100)]

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
        ("ARPPRODUCTICON", "product.ico"),
        ("ARPCOMMENTS", "Commands and icons of synchronised folders in Explorer"),
        # Nothing here ever needs a restart to work, so none happens and no
        # program that has the library loaded is asked or made to close.
        ("REBOOT", "ReallySuppress"),
        ("MSIRESTARTMANAGERCONTROL", "Disable"),
        ("SecureCustomProperties", ";".join(["OLDER_VERSION", "NEWER_VERSION", *(row[0] for row in SEARCHES)])),
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
        ("ProductFolder", "ProgramFiles64Folder", "VSKEXT|" + PRODUCT),
        ("VersionFolder", "ProductFolder", "@SHORT_VERSION@|@VERSION@"),
    ],
    "Feature": [("Extension", "", PRODUCT, "", 1, 1, "", 8 + 16)],  # always whole, never advertised alone
    "FeatureComponents": [
        ("Extension", component)
        for component in [*(row[0] for row in FILES.values()), *FILE_TYPE_VALUES, "Record"]
    ],
    "Component": [
        ("Library", "@LIBRARY_COMPONENT@", "VersionFolder", FOR_64_BITS, "", "Library"),
        ("Probe", "@PROBE_COMPONENT@", "VersionFolder", FOR_64_BITS, "", "Probe"),
        *((name, FILE_TYPE_COMPONENTS[name], "ProductFolder", FOR_64_BITS + REGISTRY_IS_KEY_PATH, condition, name)
          for name, (_, _, condition) in FILE_TYPE_VALUES.items()),
        ("Record", RECORD_COMPONENT, "ProductFolder", FOR_64_BITS + REGISTRY_IS_KEY_PATH, "", "RecordLibrary"),
    ],
    "Registry": [
        *((name, LOCAL_MACHINE, key, "", data, name) for name, (key, data, _) in FILE_TYPE_VALUES.items()),
        *(("Owns" + name, LOCAL_MACHINE, RECORD_KEY, "Owns" + name, "#1", name) for name in FILE_TYPE_VALUES),
        ("RecordLibrary", LOCAL_MACHINE, RECORD_KEY, "Library", "[#Library]", "Record"),
        ("RecordVersion", LOCAL_MACHINE, RECORD_KEY, "Version", "@VERSION@", "Record"),
        # Unregistering deletes the handler's key and leaves this parent of it
        # empty; with a value of ours in it, it goes with the package.
        ("HandlerParent", LOCAL_MACHINE, CLASSES + FILE_TYPE + "\\shellex", "", "", "Record"),
    ],
    "AppSearch": [(name, name) for name, _, _ in SEARCHES],
    "RegLocator": [(name, LOCAL_MACHINE, key, value, RAW_VALUE_64) for name, key, value in SEARCHES],
    "Signature": [],
    "Icon": [("product.ico", "product.ico")],
    "Media": [(1, len(FILES), "", "#files.cab", "", "")],
    "CustomAction": [
        ("Prove", PROGRAM + DEFERRED, "System64Folder", REGISTER % "[#Library]"),
        ("Register", PROGRAM + DEFERRED, "System64Folder", REGISTER % "[#Library]"),
        ("Unregister", PROGRAM + DEFERRED + IGNORE_FAILURE, "System64Folder", UNREGISTER % "[#Library]"),
        # Undoing runs backwards: the failed version's classes go, and then the
        # version that was there before takes the shared key again.
        ("UndoProve", PROGRAM + DEFERRED + ON_ROLLBACK + IGNORE_FAILURE, "System64Folder",
         UNREGISTER % "[#Library]"),
        ("UndoRegister", PROGRAM + DEFERRED + ON_ROLLBACK + IGNORE_FAILURE, "System64Folder",
         UNREGISTER % "[#Library]"),
        ("UndoReplace", PROGRAM + DEFERRED + ON_ROLLBACK + IGNORE_FAILURE, "System64Folder",
         REGISTER % "[EARLIER_LIBRARY]"),
        ("UndoUnregister", PROGRAM + DEFERRED + ON_ROLLBACK + IGNORE_FAILURE, "System64Folder",
         REGISTER % "[#Library]"),
        ("SetInstallLocation", SET_PROPERTY, "ARPINSTALLLOCATION", "[VersionFolder]"),
    ],
    "ActionText": [
        ("Prove", "Registering the Explorer extension", ""),
        ("Register", "Registering the Explorer extension", ""),
        ("Unregister", "Unregistering the Explorer extension", ""),
    ],
    "InstallExecuteSequence": [
        *CHECKS,
        ("ValidateProductID", "", 700),
        *COSTING,
        ("SetInstallLocation", "", 1010),
        ("MigrateFeatureStates", "", 1200),
        ("InstallValidate", "", 1400),
        ("InstallInitialize", "", 1500),
        ("ProcessComponents", "", 1600),
        ("UnpublishFeatures", "", 1800),
        ("UndoUnregister", "REMOVE=\"ALL\"", 1990),
        ("Unregister", "REMOVE=\"ALL\"", 2000),
        ("RemoveRegistryValues", "", 2600),
        ("RemoveFiles", "", 3500),
        ("InstallFiles", "", 4000),
        ("InstallExecute", "", 4005),
        ("UndoReplace", "EARLIER_LIBRARY AND NOT REMOVE", 4010),
        ("UndoProve", REPLACES, 4020),
        ("Prove", REPLACES, 4030),
        ("InstallExecuteAgain", "", 4100),
        ("RemoveExistingProducts", "", 4110),
        ("WriteRegistryValues", "", 5000),
        ("UndoRegister", "NOT REMOVE", 5010),
        ("Register", "NOT REMOVE", 5020),
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
        (7, "x64;1033"),
        (9, "@PACKAGE_CODE@"),
        (12, "@DATE@"),
        (13, "@DATE@"),
        (14, 500),
        (15, 2),
        (18, "msibuild"),
        (19, 2),
    ],
}
