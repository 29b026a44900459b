"""Calls between a camera and a viewer in network namespaces, joined by an emulated link."""
