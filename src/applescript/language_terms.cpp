#include "applescript/language_terms.h"

#include <string>

#include "base/result.h"

namespace quillbox::applescript {

namespace {

constexpr std::string_view kLanguage = R"xml(<dictionary>
<suite name="Language" code="ascr">
 <class name="text" plural="text" code="ctxt"><synonym name="string"/><synonym name="Unicode text" plural="Unicode text"/><synonym name="rich text" plural="rich text"/><synonym name="styled text" plural="styled text"/><synonym name="international text" plural="international text"/></class>
 <class name="integer" code="long"/><class name="real" code="doub"/>
 <class name="number" code="nmbr"/><class name="boolean" code="bool"/>
 <class name="list" code="list"/><class name="record" code="reco"/>
 <class name="date" code="ldt "/><class name="class" plural="classes" code="type"/>
 <class name="constant" code="enum"/><class name="reference" code="obj "/>
 <class name="script" code="scpt"/><class name="handler" code="hand"/>
 <class name="application" code="capp"><synonym name="app"/></class><class name="any" plural="anything" code="****"/>
 <class name="data" plural="data" code="rdat"/><class name="alias" plural="aliases" code="alis"/>
 <class name="file" code="file"/><class name="POSIX file" code="psxf"/>
 <class name="folder" code="cfol"/><class name="disk" code="cdis"/>
 <class name="item" code="cobj"/><class name="character" code="cha "/>
 <class name="word" code="cwor"/><class name="paragraph" code="cpar"/>
 <class name="text item" code="citm"/>
 <record-type name="properties of everything" code="0x00000001">
  <property name="name" code="pnam" type="text"/><property name="id" code="ID  " type="any"/>
  <property name="class" code="pcls" type="type"/><property name="length" code="leng" type="integer"/>
  <property name="reverse" code="rvse" type="list"/><property name="rest" code="rest" type="list"/>
  <property name="contents" code="pcnt" type="any"/>
  <property name="text item delimiters" code="txdl" type="list"/>
  <property name="version" code="vers" type="text"/><property name="frontmost" code="pisf" type="boolean"/>
  <property name="running" code="prun" type="boolean"/><property name="parent" code="pare" type="any"/>
  <property name="year" code="year" type="integer"/><property name="month" code="mnth" type="any"/>
  <property name="day" code="day " type="integer"/><property name="weekday" code="wkdy" type="any"/>
  <property name="time" code="time" type="integer"/><property name="hours" code="hour" type="integer"/>
  <property name="minutes" code="min " type="integer"/><property name="seconds" code="scnd" type="integer"/>
  <property name="date string" code="dstr" type="text"/><property name="time string" code="tstr" type="text"/>
  <property name="short date string" code="shdt" type="text"/>
  <property name="quoted form" code="strq" type="text"/><property name="POSIX path" code="psxp" type="text"/>
  <property name="properties" code="pALL" type="record"/>
 </record-type>
 <enumeration name="months and days" code="eMnD">
  <enumerator name="January" code="jan "/><enumerator name="February" code="feb "/>
  <enumerator name="March" code="mar "/><enumerator name="April" code="apr "/>
  <enumerator name="May" code="may "/><enumerator name="June" code="jun "/>
  <enumerator name="July" code="jul "/><enumerator name="August" code="aug "/>
  <enumerator name="September" code="sep "/><enumerator name="October" code="oct "/>
  <enumerator name="November" code="nov "/><enumerator name="December" code="dec "/>
  <enumerator name="Sunday" code="sun "/><enumerator name="Monday" code="mon "/>
  <enumerator name="Tuesday" code="tue "/><enumerator name="Wednesday" code="wed "/>
  <enumerator name="Thursday" code="thu "/><enumerator name="Friday" code="fri "/>
  <enumerator name="Saturday" code="sat "/>
 </enumeration>
 <enumeration name="answers" code="eAns">
  <enumerator name="yes" code="yes "/><enumerator name="no" code="no  "/><enumerator name="ask" code="ask "/>
 </enumeration>
 <command name="get" code="coregetd"><direct-parameter type="any"/></command>
 <command name="set" code="coresetd"><direct-parameter type="any"/><parameter name="to" code="data" type="any"/></command>
 <command name="count" code="corecnte"><direct-parameter type="any" optional="yes"/><parameter name="each" code="kocl" type="type" optional="yes"/></command>
 <command name="exists" code="coredoex"><direct-parameter type="any" optional="yes"/></command>
 <command name="log" code="ascrcmnt"><direct-parameter type="any" optional="yes"/></command>
 <command name="run" code="aevtoapp"><direct-parameter type="any" optional="yes"/><parameter name="with parameters" code="plst" type="list" optional="yes"/></command>
 <command name="launch" code="ascrnoop"><direct-parameter type="any" optional="yes"/></command>
 <command name="activate" code="miscactv"><direct-parameter type="any" optional="yes"/></command>
 <command name="reopen" code="aevtrapp"><direct-parameter type="any" optional="yes"/></command>
 <command name="open" code="aevtodoc"><direct-parameter type="any" optional="yes"/></command>
 <command name="print" code="aevtpdoc"><direct-parameter type="any" optional="yes"/></command>
 <command name="idle" code="miscidle"/>
 <command name="quit" code="aevtquit"><direct-parameter type="any" optional="yes"/><parameter name="saving" code="savo" type="any" optional="yes"/></command>
</suite>
<suite name="Additions" code="syso">
 <enumeration name="rounding" code="roun">
  <enumerator name="up" code="rndU"/><enumerator name="down" code="rndD"/><enumerator name="toward zero" code="rndZ"/>
  <enumerator name="to nearest" code="rndN"/><enumerator name="as taught in school" code="rndS"/>
 </enumeration>
 <enumeration name="icons" code="stic">
  <enumerator name="stop" code="stop"/><enumerator name="note" code="note"/><enumerator name="caution" code="caut"/>
 </enumeration>
 <enumeration name="alerts" code="EAlT">
  <enumerator name="critical" code="criT"/><enumerator name="informational" code="infA"/><enumerator name="warning" code="warN"/>
 </enumeration>
 <enumeration name="places" code="earp">
  <enumerator name="desktop" code="desk"/><enumerator name="desktop folder" code="desk"/>
  <enumerator name="documents folder" code="docs"/><enumerator name="downloads folder" code="down"/>
  <enumerator name="home folder" code="cusr"/><enumerator name="library folder" code="dlib"/>
  <enumerator name="applications folder" code="apps"/><enumerator name="application support" code="asup"/>
  <enumerator name="preferences folder" code="pref"/><enumerator name="temporary items" code="temp"/>
  <enumerator name="temporary items folder" code="temp"/><enumerator name="startup disk" code="boot"/>
  <enumerator name="system folder" code="macs"/><enumerator name="users folder" code="usrs"/>
  <enumerator name="movies folder" code="mdoc"/><enumerator name="music folder" code="%doc"/>
  <enumerator name="pictures folder" code="pdoc"/><enumerator name="public folder" code="pubb"/>
  <enumerator name="scripts folder" code="scr$"/><enumerator name="utilities folder" code="uti$"/>
  <enumerator name="trash folder" code="trsh"/><enumerator name="user domain" code="fldu"/>
  <enumerator name="local domain" code="fldl"/><enumerator name="system domain" code="flds"/>
  <enumerator name="network domain" code="fldn"/>
 </enumeration>
 <record-type name="dialog reply" code="askr">
  <property name="button returned" code="bhit" type="text"/><property name="text returned" code="ttxt" type="text"/>
  <property name="gave up" code="gavu" type="boolean"/>
 </record-type>
 <command name="offset" code="sysooffs"><parameter name="of" code="psof" type="text"/><parameter name="in" code="psin" type="text"/></command>
 <command name="random number" code="sysorand"><direct-parameter type="number" optional="yes"/><parameter name="from" code="from" type="number" optional="yes"/><parameter name="to" code="to  " type="number" optional="yes"/><parameter name="with seed" code="seed" type="number" optional="yes"/></command>
 <command name="round" code="sysorond"><direct-parameter type="real"/><parameter name="rounding" code="dire" type="any" optional="yes"/></command>
 <command name="current date" code="misccurd"/>
 <command name="ASCII character" code="sysontoc"><direct-parameter type="integer"/></command>
 <command name="ASCII number" code="sysocton"><direct-parameter type="text"/></command>
 <command name="delay" code="sysodela"><direct-parameter type="number" optional="yes"/></command>
 <command name="time to GMT" code="sysoGMT "/>
 <command name="run script" code="sysodsct"><direct-parameter type="any"/><parameter name="with parameters" code="plst" type="list" optional="yes"/><parameter name="in" code="scsy" type="text" optional="yes"/></command>
 <command name="beep" code="sysobeep"><direct-parameter type="integer" optional="yes"/></command>
 <command name="display dialog" code="sysodlog"><direct-parameter type="text"/><parameter name="default answer" code="dtxt" type="text" optional="yes"/><parameter name="hidden answer" code="htxt" type="boolean" optional="yes"/><parameter name="buttons" code="btns" type="list" optional="yes"/><parameter name="default button" code="dflt" type="any" optional="yes"/><parameter name="cancel button" code="cbtn" type="any" optional="yes"/><parameter name="with title" code="appr" type="text" optional="yes"/><parameter name="with icon" code="disp" type="any" optional="yes"/><parameter name="giving up after" code="givu" type="integer" optional="yes"/></command>
 <command name="display alert" code="sysodisA"><direct-parameter type="text"/><parameter name="message" code="mesS" type="text" optional="yes"/><parameter name="as" code="EAlT" type="any" optional="yes"/><parameter name="buttons" code="btns" type="list" optional="yes"/><parameter name="default button" code="dflt" type="any" optional="yes"/><parameter name="cancel button" code="cbtn" type="any" optional="yes"/><parameter name="giving up after" code="givu" type="integer" optional="yes"/></command>
 <command name="display notification" code="sysonotf"><direct-parameter type="text" optional="yes"/><parameter name="with title" code="appr" type="text" optional="yes"/><parameter name="subtitle" code="subt" type="text" optional="yes"/><parameter name="sound name" code="nsou" type="text" optional="yes"/></command>
 <command name="choose from list" code="gtqpchlt"><direct-parameter type="list"/><parameter name="with title" code="appr" type="text" optional="yes"/><parameter name="with prompt" code="prmp" type="text" optional="yes"/><parameter name="default items" code="inSL" type="list" optional="yes"/><parameter name="OK button name" code="okbt" type="text" optional="yes"/><parameter name="cancel button name" code="cnbt" type="text" optional="yes"/><parameter name="multiple selections allowed" code="mlsl" type="boolean" optional="yes"/><parameter name="empty selection allowed" code="empL" type="boolean" optional="yes"/></command>
 <command name="choose file" code="sysostdf"><parameter name="with prompt" code="prmp" type="text" optional="yes"/><parameter name="of type" code="ftyp" type="list" optional="yes"/><parameter name="default location" code="dflc" type="any" optional="yes"/><parameter name="multiple selections allowed" code="mlsl" type="boolean" optional="yes"/></command>
 <command name="choose file name" code="sysonwfl"><parameter name="with prompt" code="prmt" type="text" optional="yes"/><parameter name="default name" code="dfnm" type="text" optional="yes"/><parameter name="default location" code="dflc" type="any" optional="yes"/></command>
 <command name="choose folder" code="sysostfl"><parameter name="with prompt" code="prmp" type="text" optional="yes"/><parameter name="default location" code="dflc" type="any" optional="yes"/></command>
 <command name="choose application" code="sysoppcb"><parameter name="with prompt" code="prmp" type="text" optional="yes"/></command>
 <command name="choose color" code="sysochcl"><parameter name="default color" code="dcol" type="any" optional="yes"/></command>
 <command name="say" code="sysottos"><direct-parameter type="any"/><parameter name="using" code="voic" type="text" optional="yes"/></command>
 <command name="do shell script" code="sysoexec"><direct-parameter type="text" optional="yes"/><parameter name="as" code="rtyp" type="type" optional="yes"/><parameter name="administrator privileges" code="badm" type="boolean" optional="yes"/><parameter name="user name" code="RAun" type="text" optional="yes"/><parameter name="password" code="RApw" type="text" optional="yes"/><parameter name="with prompt" code="RApr" type="text" optional="yes"/><parameter name="altering line endings" code="alen" type="boolean" optional="yes"/></command>
 <command name="the clipboard" code="JonsgClp"><parameter name="as" code="rtyp" type="type" optional="yes"/></command>
 <command name="set the clipboard to" code="JonspClp"><direct-parameter type="any"/></command>
 <command name="clipboard info" code="JonsiClp"/>
 <command name="open location" code="GURLGURL"><direct-parameter type="text" optional="yes"/></command>
 <command name="path to" code="earsffdr"><direct-parameter type="any"/><parameter name="from" code="from" type="any" optional="yes"/><parameter name="as" code="rtyp" type="type" optional="yes"/></command>
 <command name="path to resource" code="sysorpth"><direct-parameter type="text"/><parameter name="in bundle" code="in B" type="any" optional="yes"/><parameter name="in directory" code="in D" type="text" optional="yes"/></command>
 <command name="load script" code="sysoload"><direct-parameter type="any"/></command>
 <command name="store script" code="sysostor"><direct-parameter type="any" optional="yes"/><parameter name="in" code="fpth" type="any" optional="yes"/><parameter name="replacing" code="savo" type="any" optional="yes"/></command>
 <command name="system attribute" code="fndrgstl"><direct-parameter type="text" optional="yes"/><parameter name="has" code="has " type="integer" optional="yes"/></command>
 <command name="system info" code="sysosigt"/>
 <command name="info for" code="sysonfo4"><direct-parameter type="any"/><parameter name="size" code="ptsz" type="boolean" optional="yes"/></command>
 <command name="list folder" code="earslfdr"><direct-parameter type="any"/><parameter name="invisibles" code="lfiv" type="boolean" optional="yes"/></command>
 <command name="list disks" code="earslvol"/>
 <command name="mount volume" code="aevtmvol"><direct-parameter type="text"/></command>
 <command name="localized string" code="sysolocS"><direct-parameter type="text"/><parameter name="from table" code="froT" type="text" optional="yes"/><parameter name="in bundle" code="inBu" type="any" optional="yes"/></command>
 <command name="read" code="rdwrread"><direct-parameter type="any"/><parameter name="from" code="rdfm" type="integer" optional="yes"/><parameter name="for" code="rdfr" type="integer" optional="yes"/><parameter name="to" code="rdto" type="integer" optional="yes"/><parameter name="before" code="rdbf" type="text" optional="yes"/><parameter name="until" code="rdut" type="text" optional="yes"/><parameter name="using delimiter" code="deli" type="any" optional="yes"/><parameter name="as" code="as  " type="type" optional="yes"/></command>
 <command name="write" code="rdwrwrit"><direct-parameter type="any"/><parameter name="to" code="refn" type="any"/><parameter name="starting at" code="wrat" type="integer" optional="yes"/><parameter name="for" code="nmwr" type="integer" optional="yes"/><parameter name="as" code="as  " type="type" optional="yes"/></command>
 <command name="open for access" code="rdwropen"><direct-parameter type="any"/><parameter name="write permission" code="perm" type="boolean" optional="yes"/></command>
 <command name="close access" code="rdwrclos"><direct-parameter type="any"/></command>
 <command name="get eof" code="rdwrgeof"><direct-parameter type="any"/></command>
 <command name="set eof" code="rdwrseof"><direct-parameter type="any"/><parameter name="to" code="set2" type="integer"/></command>
 <command name="set volume" code="aevtstvl"><direct-parameter type="any" optional="yes"/><parameter name="output volume" code="ouvl" type="integer" optional="yes"/><parameter name="output muted" code="mute" type="boolean" optional="yes"/></command>
 <command name="get volume settings" code="sysogtvl"/>
</suite>
</dictionary>)xml";

constexpr std::string_view kStandardSuite = R"xml(<dictionary>
<suite name="Standard Suite" code="core">
 <class name="window" code="cwin">
  <property name="index" code="pidx" type="integer"/><property name="bounds" code="pbnd" type="list"/>
  <property name="visible" code="pvis" type="boolean"/><property name="closeable" code="hclb" type="boolean"/>
  <property name="miniaturizable" code="ismn" type="boolean"/><property name="miniaturized" code="pmnd" type="boolean"/>
  <property name="resizable" code="prsz" type="boolean"/><property name="zoomable" code="iszm" type="boolean"/>
  <property name="zoomed" code="pzum" type="boolean"/>
 </class>
 <command name="make" code="corecrel"><parameter name="new" code="kocl" type="type"/><parameter name="at" code="insh" type="location specifier" optional="yes"/><parameter name="with data" code="data" type="any" optional="yes"/><parameter name="with properties" code="prdt" type="record" optional="yes"/></command>
 <command name="delete" code="coredelo"><direct-parameter type="specifier"/></command>
 <command name="move" code="coremove"><direct-parameter type="specifier"/><parameter name="to" code="insh" type="location specifier"/></command>
 <command name="duplicate" code="coreclon"><direct-parameter type="specifier"/><parameter name="to" code="insh" type="location specifier" optional="yes"/><parameter name="with properties" code="prdt" type="record" optional="yes"/></command>
 <command name="close" code="coreclos"><direct-parameter type="specifier"/><parameter name="saving in" code="kfil" type="any" optional="yes"/><parameter name="saving" code="savo" type="any" optional="yes"/></command>
 <command name="save" code="coresave"><direct-parameter type="specifier"/><parameter name="in" code="kfil" type="any" optional="yes"/><parameter name="as" code="fltp" type="any" optional="yes"/></command>
</suite>
</dictionary>)xml";

std::shared_ptr<const Terminology> parsed(std::string_view xml) {
  auto terms = Terminology::parse(xml);
  if (!terms) fatal("a built-in dictionary does not parse: " + terms.error().message);
  return *terms;
}

}  // namespace

const Terminology& languageTerms() {
  static const auto terms = parsed(kLanguage);
  return *terms;
}

const Terminology& standardSuite() {
  static const auto terms = parsed(kStandardSuite);
  return *terms;
}

}  // namespace quillbox::applescript
