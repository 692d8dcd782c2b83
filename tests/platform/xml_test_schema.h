// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Nax::FrontEnd::XMLDB {

/// A small schema with one of each kind of rule that documents can break.
inline constexpr char SmallSchema[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" elementFormDefault="qualified">
  <xs:import namespace="http://www.w3.org/XML/1998/namespace" schemaLocation="http://www.w3.org/2001/xml.xsd"/>
  <xs:simpleType name="GUID"><xs:restriction base="xs:string"><xs:pattern value="[a-f]{3}"/></xs:restriction></xs:simpleType>
  <xs:simpleType name="Kind"><xs:restriction base="xs:string"><xs:enumeration value="A"/><xs:enumeration value="it's"/></xs:restriction></xs:simpleType>
  <xs:simpleType name="One"><xs:restriction base="xs:string"><xs:enumeration value="1"/></xs:restriction></xs:simpleType>
  <xs:simpleType name="Short"><xs:restriction base="xs:string"><xs:maxLength value="3"/></xs:restriction></xs:simpleType>
  <xs:simpleType name="Range"><xs:restriction base="xs:decimal"><xs:minInclusive value="2"/><xs:maxExclusive value="3"/></xs:restriction></xs:simpleType>
  <xs:simpleType name="Integers"><xs:list itemType="xs:integer"/></xs:simpleType>
  <xs:element name="Root"><xs:complexType>
    <xs:all><xs:element ref="Items" minOccurs="0"/><xs:element ref="Count" minOccurs="0"/><xs:element ref="Pair" minOccurs="0"/></xs:all>
    <xs:attribute name="updated" use="required" type="xs:NMTOKEN"/>
  </xs:complexType></xs:element>
  <xs:element name="Items"><xs:complexType><xs:sequence><xs:element ref="Item" minOccurs="0" maxOccurs="unbounded"/></xs:sequence></xs:complexType></xs:element>
  <xs:element name="Pair"><xs:complexType><xs:sequence><xs:element ref="Item"/><xs:element ref="Empty"/></xs:sequence></xs:complexType></xs:element>
  <xs:element name="Count" type="xs:integer"/>
  <xs:element name="Empty"><xs:complexType/></xs:element>
  <xs:element name="Memo"><xs:complexType mixed="true"><xs:attribute ref="xml:space"/></xs:complexType></xs:element>
  <xs:element name="Item"><xs:complexType>
    <xs:choice minOccurs="0" maxOccurs="unbounded"><xs:element ref="Item"/><xs:element ref="Memo"/></xs:choice>
    <xs:attribute name="id" type="GUID"/><xs:attribute name="kind" type="Kind"/><xs:attribute name="one" type="One"/>
    <xs:attribute name="short" type="Short"/><xs:attribute name="range" type="Range"/><xs:attribute name="list" type="Integers"/>
    <xs:attribute name="n" type="xs:integer"/><xs:attribute name="uri" type="xs:anyURI"/><xs:attribute name="fixed" fixed="12"/>
    <xs:attribute name="any"/>
  </xs:complexType></xs:element>
</xs:schema>
)";

} // namespace Nax::FrontEnd::XMLDB
