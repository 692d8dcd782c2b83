<?xml version="1.0" encoding="UTF-8"?>
<!-- SPDX-License-Identifier: Apache-2.0 -->
<!--
  Derives SQLite tables from an XML schema: one CREATE TABLE for every element whose complex type has
  fields. The output is raw; the mapper cuts it into statements, drops the containers, joins the
  commas to the lines before them and adds the columns that the loader needs.

  - What a declared type adds follows TEXT without a blank: TEXT and INTEGER give TEXTINTEGER. The
    types of the landscape schema add nothing, so all its columns are TEXT.
  - The default templates run over every element's children after its table. They reach nested
    elements a second time and copy documentation texts; the mapper removes the one text it knows.
-->
<xsl:stylesheet version="1.0"
                xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns:xs="http://www.w3.org/2001/XMLSchema"
                xmlns:msdata="urn:schemas-microsoft-com:xml-msdata"
                exclude-result-prefixes="xs msdata">

  <xsl:output method="text" encoding="UTF-8" omit-xml-declaration="yes"/>

  <!-- The schema and every schema that it names in an include. -->
  <xsl:variable name="schemas"
                select="/xs:schema | document(/xs:schema/xs:include/@schemaLocation)/xs:schema"/>
  <xsl:variable name="complexTypes" select="$schemas/xs:complexType[@name]"/>
  <xsl:variable name="simpleTypes" select="$schemas/xs:simpleType[@name]"/>
  <xsl:variable name="keys" select="$schemas//xs:key"/>

  <!-- Global elements of one schema only; replaced by the root template at the end. -->
  <xsl:template match="/">
    <xsl:apply-templates select="xs:schema/xs:element"/>
  </xsl:template>

  <xsl:template match="xs:element">
    <xsl:variable name="type"
                  select="xs:complexType | $complexTypes[@name = current()/@type]"/>
    <xsl:variable name="fields"
                  select="$type/xs:sequence/xs:element[not(@type = $complexTypes/@name)]
                          | $type/xs:attribute
                          | $type/xs:simpleContent
                          | $type/xs:simpleContent/xs:extension/xs:attribute"/>
    <xsl:if test="$fields">
      <xsl:call-template name="table">
        <xsl:with-param name="fields" select="$fields"/>
      </xsl:call-template>
    </xsl:if>
    <xsl:apply-templates/>
  </xsl:template>

  <xsl:template name="table">
    <xsl:param name="fields"/>
    <xsl:variable name="selector" select="concat('.//mstns:', @name)"/>
    <xsl:variable name="declaredKey"
                  select="$keys[@msdata:PrimaryKey = 'true'][xs:selector/@xpath = $selector][1]"/>

    <xsl:value-of select="concat('CREATE TABLE &quot;', @name, '&quot; &#10;( &#10;')"/>
    <xsl:if test="not($declaredKey)">
      <xsl:value-of select="concat('&#9;&quot;', @name, '_id&quot; INTEGER,&#10;')"/>
    </xsl:if>
    <xsl:call-template name="parentKey"/>
    <xsl:for-each select="$fields">
      <xsl:call-template name="column"/>
      <xsl:if test="position() != last()">,</xsl:if>
      <xsl:text>&#10;</xsl:text>
    </xsl:for-each>

    <xsl:text>&#10;&#9;, PRIMARY KEY ( </xsl:text>
    <xsl:choose>
      <xsl:when test="$declaredKey">
        <xsl:call-template name="keyFields">
          <xsl:with-param name="key" select="$declaredKey"/>
        </xsl:call-template>
      </xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="concat('&quot;', @name, '_id&quot;')"/>
      </xsl:otherwise>
    </xsl:choose>
    <xsl:text> )&#10;)&#10;&#10;</xsl:text>
  </xsl:template>

  <!-- The foreign key to the table of an enclosing element, or of an element whose named type encloses
       this one. Of several the first in document order counts. -->
  <xsl:template name="parentKey">
    <xsl:variable name="enclosing"
                  select="ancestor::xs:element[@name][not(@msdata:IsDataSet = 'true')]
                          [xs:complexType/xs:sequence/xs:element/@type
                           or xs:complexType/xs:attribute/@type
                           or xs:complexType/xs:simpleContent]"/>
    <xsl:variable name="ofEnclosingType"
                  select="$schemas//xs:element[@type = current()/ancestor::*/@name]"/>
    <xsl:variable name="parent" select="($enclosing | $ofEnclosingType)[1]/@name"/>
    <xsl:if test="$parent">
      <xsl:value-of select="concat('&#9;&quot;', $parent, '_id&quot; INTEGER CONSTRAINT FK_', @name, '_', $parent,
                                   ' FOREIGN KEY REFERENCES &quot;', $parent, '&quot; (&quot;', $parent,
                                   '_id&quot;),&#10;')"/>
    </xsl:if>
  </xsl:template>

  <!-- One column without its comma. A reference to an element has neither name: its column is "". -->
  <xsl:template name="column">
    <xsl:text>&#9;"</xsl:text>
    <xsl:choose>
      <xsl:when test="@msdata:ColumnName">
        <xsl:value-of select="@msdata:ColumnName"/>
      </xsl:when>
      <xsl:when test="@name">
        <xsl:value-of select="@name"/>
      </xsl:when>
      <xsl:when test="self::xs:simpleContent">
        <xsl:value-of select="concat((../@name | ../../@name)[last()], '_Text')"/>
      </xsl:when>
    </xsl:choose>
    <xsl:text>" TEXT</xsl:text>
    <xsl:call-template name="typeSuffix">
      <xsl:with-param name="type" select="@type | self::xs:simpleContent/xs:extension/@base"/>
    </xsl:call-template>
    <xsl:if test="@msdata:AutoIncrement = 'true'">
      <xsl:text> IDENTITY(</xsl:text>
      <xsl:call-template name="numberOrOne">
        <xsl:with-param name="number" select="@msdata:AutoIncrementSeed"/>
      </xsl:call-template>
      <xsl:text>,</xsl:text>
      <xsl:call-template name="numberOrOne">
        <xsl:with-param name="number" select="@msdata:AutoIncrementStep"/>
      </xsl:call-template>
      <xsl:text>)</xsl:text>
    </xsl:if>
    <xsl:if test="@minOccurs = 0"> NULL</xsl:if>
  </xsl:template>

  <xsl:template name="numberOrOne">
    <xsl:param name="number"/>
    <xsl:choose>
      <xsl:when test="$number">
        <xsl:value-of select="$number"/>
      </xsl:when>
      <xsl:otherwise>1</xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- What a type adds after TEXT. A simple type of the schema is followed to its base. -->
  <xsl:template name="typeSuffix">
    <xsl:param name="type"/>
    <xsl:variable name="localName" select="substring-after($type, ':')"/>
    <xsl:choose>
      <xsl:when test="$localName = 'int' or $localName = 'nonNegativeInteger' or $localName = 'date'
                      or $localName = 'boolean' or $localName = 'gYearMonth'">INTEGER</xsl:when>
      <xsl:when test="$localName = 'decimal'">REAL</xsl:when>
      <xsl:when test="$localName = 'GUID' or $type = 'money_type'">TEXT</xsl:when>
      <xsl:otherwise>
        <xsl:variable name="restriction"
                      select="$simpleTypes[@name = $type or @name = $localName][1]/xs:restriction"/>
        <xsl:if test="$restriction">
          <xsl:call-template name="typeSuffix">
            <xsl:with-param name="type" select="$restriction/@base"/>
          </xsl:call-template>
          <xsl:if test="$restriction/xs:maxLength">
            <xsl:value-of select="concat('(', $restriction/xs:maxLength/@value, ')')"/>
          </xsl:if>
        </xsl:if>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- The fields of a key or of a reference to one, quoted. -->
  <xsl:template name="keyFields">
    <xsl:param name="key"/>
    <xsl:for-each select="$key/xs:field">
      <xsl:value-of select="concat('&quot;', substring-after(@xpath, 'mstns:'), '&quot;')"/>
      <xsl:if test="position() != last()">, </xsl:if>
    </xsl:for-each>
  </xsl:template>

  <!-- The parent table's name lacks its closing quotation mark. Landscape schemas have no references
       to keys; mend it before the first one does. -->
  <xsl:template match="xs:keyref[@refer]">
    <xsl:variable name="keyName">
      <xsl:choose>
        <xsl:when test="contains(@refer, ':')">
          <xsl:value-of select="substring-after(@refer, ':')"/>
        </xsl:when>
        <xsl:otherwise>
          <xsl:value-of select="@refer"/>
        </xsl:otherwise>
      </xsl:choose>
    </xsl:variable>
    <xsl:variable name="key" select="($keys | $schemas//xs:unique)[@name = $keyName][1]"/>
    <xsl:variable name="child" select="substring-after(xs:selector/@xpath, './/mstns:')"/>
    <xsl:variable name="parent" select="substring-after($key/xs:selector/@xpath, './/mstns:')"/>
    <xsl:value-of select="concat('ALTER TABLE &quot;', $child, '&quot; ADD CONSTRAINT FK_', $child, '_', $parent,
                                 ' FOREIGN KEY ( ')"/>
    <xsl:call-template name="keyFields">
      <xsl:with-param name="key" select="."/>
    </xsl:call-template>
    <xsl:value-of select="concat(' ) REFERENCES &quot;', $parent, ' ( ')"/>
    <xsl:call-template name="keyFields">
      <xsl:with-param name="key" select="$key"/>
    </xsl:call-template>
    <xsl:text> )&#10;&#10;</xsl:text>
  </xsl:template>

  <!-- Indentation of the schema is no text of it. -->
  <xsl:template match="text()[normalize-space() = '']"/>

  <!-- Later than the other root template and so the one in force: elements at any depth, of every schema. -->
  <xsl:template match="/">
    <xsl:apply-templates select="$schemas//xs:element"/>
  </xsl:template>
</xsl:stylesheet>
