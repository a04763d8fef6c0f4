"""What the identity package says: an identity for the product's programs, and
nothing but that. The programs stay in the installation folder, which Windows
calls the package's external location.

@NAME@ stands for what make_msix.py knows: @VERSION@, @PUBLISHER@, @CLASS_ID@.
"""

NAME = "Nimbrel.VeskardAgent"

# What stands for the subject of a signing certificate where there is none.
DEVELOPMENT_PUBLISHER = "CN=Nimbrel Veskard Agent development"

# file in the package: its size in pixels.
LOGOS = {
    "Assets/StoreLogo.png": 50,
    "Assets/Square44x44Logo.png": 44,
    "Assets/Square150x150Logo.png": 150,
}

# In front of the rest, each known to Windows by these addresses below the common one.
NAMESPACE = "http://schemas.microsoft.com/appx/manifest/"
NAMESPACES = {
    "uap": "uap/windows10",
    "uap10": "uap/windows10/10",
    "rescap": "foundation/windows10/restrictedcapabilities",
    "com": "com/windows10",
    "desktop4": "desktop/windows10/4",
    "desktop5": "desktop/windows10/5",
}

# The application is there for its extensions: nobody starts it, and no list shows it.
# "*" is files, each folder needs "Directory". A verb's id is letters and digits only, a
# class identifier stands without braces, and Path is below the external location.
MANIFEST = """\
<?xml version="1.0" encoding="utf-8"?>
<Package xmlns="@NAMESPACE@foundation/windows10" @NAMESPACES@ IgnorableNamespaces="@PREFIXES@">
  <Identity Name="@NAME@" Publisher="@PUBLISHER@" Version="@VERSION@" ProcessorArchitecture="neutral"/>
  <Properties>
    <DisplayName>Nimbrel Veskard Agent</DisplayName>
    <PublisherDisplayName>Nimbrel</PublisherDisplayName>
    <Logo>Assets\\StoreLogo.png</Logo>
    <uap10:AllowExternalContent>true</uap10:AllowExternalContent>
  </Properties>
  <Resources>
    <Resource Language="en-us"/>
  </Resources>
  <Dependencies>
    <TargetDeviceFamily Name="Windows.Desktop" MinVersion="10.0.19041.0" MaxVersionTested="10.0.26100.0"/>
  </Dependencies>
  <Capabilities>
    <rescap:Capability Name="runFullTrust"/>
    <rescap:Capability Name="unvirtualizedResources"/>
  </Capabilities>
  <Applications>
    <Application Id="Extension" Executable="shellprobe.exe" uap10:TrustLevel="mediumIL" uap10:RuntimeBehavior="win32App">
      <uap:VisualElements AppListEntry="none" DisplayName="Nimbrel Veskard Agent" Description="Commands of synchronised folders in Explorer" BackgroundColor="transparent" Square150x150Logo="Assets\\Square150x150Logo.png" Square44x44Logo="Assets\\Square44x44Logo.png"/>
      <Extensions>
        <com:Extension Category="windows.comServer">
          <com:ComServer>
            <com:SurrogateServer DisplayName="Nimbrel Veskard Agent">
              <com:Class Id="@CLASS_ID@" Path="VeskardExplorerCommand.dll" ThreadingModel="STA"/>
            </com:SurrogateServer>
          </com:ComServer>
        </com:Extension>
        <desktop4:Extension Category="windows.fileExplorerContextMenus">
          <desktop4:FileExplorerContextMenus>
            <desktop5:ItemType Type="*">
              <desktop5:Verb Id="VeskardFiles" Clsid="@CLASS_ID@"/>
            </desktop5:ItemType>
            <desktop5:ItemType Type="Directory">
              <desktop5:Verb Id="VeskardFolders" Clsid="@CLASS_ID@"/>
            </desktop5:ItemType>
          </desktop4:FileExplorerContextMenus>
        </desktop4:Extension>
      </Extensions>
    </Application>
  </Applications>
</Package>
"""

CONTENT_TYPES = """\
<?xml version="1.0" encoding="utf-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">\
<Default Extension="png" ContentType="image/png"/>\
<Default Extension="xml" ContentType="application/vnd.ms-appx.manifest+xml"/>\
<Override PartName="/AppxBlockMap.xml" ContentType="application/vnd.ms-appx.blockmap+xml"/>\
</Types>
"""

BLOCK_MAP_NAMESPACE = "http://schemas.microsoft.com/appx/2010/blockmap"
BLOCK_HASH_METHOD = "http://www.w3.org/2001/04/xmlenc#sha256"
