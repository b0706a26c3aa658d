drop table dbo.SampleNumber, dbo.SampleName;
drop function dbo.SampleChanged, dbo.SampleGuid, dbo.SamplePick;
go
