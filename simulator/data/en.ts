<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name>Widget</name>
    <message><source>Widget</source><translation>Maintenance</translation></message>
    <message><source>Attention</source><translation>Please answer</translation></message>
</context>
</TS>
