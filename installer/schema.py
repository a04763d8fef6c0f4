"""The tables of an installation database that this package uses.

One line a table: its columns in order, each with its type; the columns before
the bar are the primary key. A type is a letter and a size: "s" text, "l" text
that may be translated, "i" integer of so many bytes, "v" a stream; a capital
letter allows the column to be empty. A size of 0 is "any length".
"""

SCHEMA = {
    "ActionText": "Action:s72 | Description:L0 Template:L0",
    "AdminExecuteSequence": "Action:s72 | Condition:S255 Sequence:I2",
    "AdvtExecuteSequence": "Action:s72 | Condition:S255 Sequence:I2",
    "AppSearch": "Property:s72 Signature_:s72 |",
    "Binary": "Name:s72 | Data:v0",
    "Component": "Component:s72 | ComponentId:S38 Directory_:s72 Attributes:i2 Condition:S255 KeyPath:S72",
    "CustomAction": "Action:s72 | Type:i2 Source:S72 Target:S255",
    "Directory": "Directory:s72 | Directory_Parent:S72 DefaultDir:l255",
    "DrLocator": "Signature_:s72 Parent:S72 Path:S255 | Depth:I2",
    "Feature": "Feature:s38 | Feature_Parent:S38 Title:L64 Description:L255 Display:I2 Level:i2 Directory_:S72"
               " Attributes:i2",
    "FeatureComponents": "Feature_:s38 Component_:s72 |",
    "File": "File:s72 | Component_:s72 FileName:l255 FileSize:i4 Version:S72 Language:S20 Attributes:I2 Sequence:i2",
    "Icon": "Name:s72 | Data:v0",
    "InstallExecuteSequence": "Action:s72 | Condition:S255 Sequence:I2",
    "InstallUISequence": "Action:s72 | Condition:S255 Sequence:I2",
    "LaunchCondition": "Condition:s255 | Description:l255",
    "Media": "DiskId:i2 | LastSequence:i2 DiskPrompt:L64 Cabinet:S255 VolumeLabel:S32 Source:S72",
    "MsiFileHash": "File_:s72 | Options:i2 HashPart1:i4 HashPart2:i4 HashPart3:i4 HashPart4:i4",
    "Property": "Property:s72 | Value:l0",
    "RegLocator": "Signature_:s72 | Root:i2 Key:s255 Name:S255 Type:I2",
    "Registry": "Registry:s72 | Root:i2 Key:l255 Name:L255 Value:L0 Component_:s72",
    "Signature": "Signature:s72 | FileName:s255 MinVersion:S20 MaxVersion:S20 MinSize:I4 MaxSize:I4 MinDate:I4"
                 " MaxDate:I4 Languages:S255",
    "Upgrade": "UpgradeCode:s38 VersionMin:S20 VersionMax:S20 Language:S255 Attributes:i4 | Remove:S255"
               " ActionProperty:s72",
    "_SummaryInformation": "PropertyId:i2 | Value:l255",
}


def columns(table):
    """The names and the types of a table's columns, and how many are the key."""
    key, rest = (part.split() for part in SCHEMA[table].split("|"))
    pairs = [column.split(":") for column in key + rest]
    return [name for name, _ in pairs], [kind for _, kind in pairs], len(key)
