// The maker's media catalogue as the driver writes it into tickets: the PageMediaType option
// keywords with their values, and the media identifier that the printer and the preview
// application know each medium by.
//
// Keywords are exactly as they follow the prefix in a ticket. Characters that cannot stand in a
// keyword are written as two hex digits of their code: 28 '(', 29 ')', 2C ',', 3C '<', 3E '>',
// 2B '+', 2D '-'; so PlainPaper283C90gsm29 is "PlainPaper(<90gsm)". Every keyword is also an
// enumerator of EMediaType, so it must stay a valid identifier that no header defines as a macro.
// A value is its row's position: append new media at the end, never in between.
#pragma once

// Plain, bond, tracing and vellum: the drawing office papers.
#define QX_MEDIA_PLAIN_PAPERS(X) \
    X(Plainpaper, 2) X(PlainPaper283C90gsm29, 3) X(PlainPaper283E90gsm29, 4) X(BondPaper, 5) \
    X(QXUniversalBondPaper, 6) X(QXBrightWhiteBond, 7) X(RecycledPaper, 8) X(QXRecycledBond, 9) \
    X(TracingPaper, 10) X(QXNaturalTracingPaper, 11) X(Vellum, 12) X(QXTranslucentVellum, 13) \
    X(LightweightPaper, 14) X(QXLightweightBond, 15) X(HeavyweightPlainPaper, 16) X(ColoredPaper, 17) \
    X(QXBluebackPaper, 18) X(QXCADPlotterPaper, 19) X(QXEngineeringBond, 20) X(InkjetPaper, 21) \
    X(QXPremiumInkjetBond, 22)

// Coated, poster and proofing papers.
#define QX_MEDIA_COATED_PAPERS(X) \
    X(CoatedPaper, 23) X(MatteCoatedPaper, 24) X(HeavyweightCoatedPaper, 25) X(SuperHeavyweightCoatedPaper, 26) \
    X(QXCoatedPaper90gsm, 27) X(QXCoatedPaper130gsm, 28) X(QXHeavyweightCoatedPaper170gsm, 29) \
    X(QXSuperHeavyweightPlus2CMatte, 30) X(QXUniversalCoatedPaper, 31) X(QXUniversalHeavyweightCoated, 32) \
    X(QXPremiumCoatedPaper, 33) X(QXBrightWhiteCoatedPaper, 34) X(QXRecycledCoatedPaper, 35) \
    X(QXCoatedPaper28FSC29, 36) X(PosterPaper, 37) X(QXProductionMattePoster, 38) X(QXSatinPosterPaper, 39) \
    X(QXHeavyweightPosterPaper, 40) X(QXMatteProofingPaper, 41) X(QXSemiGlossProofingPaper, 42) \
    X(QXContractProofPaper, 43) X(QXWaterResistantCoatedPaper, 44) X(Cardstock, 45) X(QXMatteCardstock, 46) \
    X(QXOpaqueCoatedPaper, 47)

// Photo and fine art papers; the branded ones carry their weight in g/m2.
#define QX_MEDIA_PHOTO_PAPERS(X) \
    X(PhotoGlossPaper, 48) X(PhotoSemiGlossPaper, 49) X(PhotoSatinPaper, 50) X(PhotoMattePaper, 51) \
    X(PhotoHighGlossPaper, 52) X(PhotoLusterPaper, 53) X(PhotoPearlPaper, 54) X(QXPhotoGloss190gsm, 55) \
    X(QXPhotoGloss260gsm, 56) X(QXPhotoSemiGloss190gsm, 57) X(QXPhotoSemiGloss260gsm, 58) \
    X(QXPhotoSatin200gsm, 59) X(QXPhotoSatin280gsm, 60) X(QXPhotoMatte170gsm, 61) X(QXPhotoMatte230gsm, 62) \
    X(QXInstantDryPhotoGloss, 63) X(QXInstantDryPhotoSatin, 64) X(QXPremiumRCPhotoGloss, 65) \
    X(QXPremiumRCPhotoLuster, 66) X(QXProfessionalPhotoBaryta, 67) X(QXFineArtPhotoRag, 68) \
    X(QXFineArtSmoothMatte, 69) X(QXFineArtTexturedMatte, 70) X(QXFineArtCottonRag308gsm, 71) \
    X(QXFineArtWatercolor, 72) X(QXPhotoGlossPaper2BUV, 73) X(QXEverydayPhotoSatin, 74) \
    X(QXEverydayPhotoGloss, 75) X(QXHeavyweightPhotoMatte, 76) X(QXMetallicPhotoPaper, 77) \
    X(QXPhotoProofingGloss, 78) X(QXPhotoProofingSemiMatte, 79) X(QXDurablePhotoSatin, 80)

// Transparencies, polyester, backlit and display films.
#define QX_MEDIA_FILMS(X) \
    X(Transparency, 81) X(ClearFilm, 82) X(MatteFilm, 83) X(PolyesterFilm, 84) X(BacklitFilm, 85) \
    X(QXBacklitFilm180, 86) X(QXBacklitFilm2DPremium, 87) X(QXBacklitPolyesterFilm, 88) \
    X(QXMattePolyesterFilm, 89) X(QXClearPolyesterFilm, 90) X(QXDoubleMatteFilm, 91) X(QXDraftingFilm, 92) \
    X(QXMatteFilm4mil, 93) X(QXMatteFilm3mil, 94) X(QXPhotoBacklitFilm, 95) X(QXDisplayFilm, 96) \
    X(QXFrontlitFilm, 97) X(QXWindowFilm, 98) X(QXStaticClingFilm, 99) X(QXScreenPositiveFilm, 100) \
    X(QXOpaqueWhiteFilm, 101) X(QXAdhesivePolyesterFilm, 102) X(QXMultiPurposeFilm, 103) \
    X(QXGlossyClearFilm, 104) X(QXGraphicFilm2CGloss, 105) X(QXGraphicFilm2CMatte, 106)

// Canvas, textiles and the transfer papers that dye-sublimation textiles are printed through.
#define QX_MEDIA_CANVAS_AND_TEXTILES(X) \
    X(Canvas, 107) X(MatteCanvas, 108) X(SatinCanvas, 109) X(GlossCanvas, 110) X(QXArtistCanvas, 111) \
    X(QXPolyCottonCanvas, 112) X(QXCottonCanvas2CMatte, 113) X(QXPolyesterCanvas2CSatin, 114) \
    X(QXWaterResistantCanvas, 115) X(QXProfessionalGlossCanvas, 116) X(Textile, 117) X(Fabric, 118) \
    X(QXPolyesterFabric, 119) X(QXFlagFabric, 120) X(QXBacklitFabric, 121) X(QXSoftSignFabric, 122) \
    X(QXStretchFabric, 123) X(QXBlockoutFabric, 124) X(QXDisplayFabric2CHeavyweight, 125) \
    X(QXCottonFabric, 126) X(QXSilkFabric, 127) X(QXTransferPaper, 128) X(QXHeatTransferPaper, 129) \
    X(QXRollUpFabric, 130) X(QXWallFabric, 131) X(QXPolyesterMeshFabric, 132)

// Synthetics, self-adhesive vinyl, wall coverings and banners.
#define QX_MEDIA_SYNTHETICS_AND_BANNERS(X) \
    X(Polypropylene, 133) X(MattePolypropylene, 134) X(QXAdhesivePolypropylene, 135) \
    X(QXPolypropyleneBanner, 136) X(QXSyntheticPaper, 137) X(QXTearResistantPaper, 138) \
    X(Self2DAdhesiveVinyl, 139) X(QXSelf2DAdhesiveVinyl2CGloss, 140) X(QXSelf2DAdhesiveVinyl2CMatte, 141) \
    X(QXRemovableAdhesiveVinyl, 142) X(QXClearAdhesiveVinyl, 143) X(QXFloorGraphicsVinyl, 144) \
    X(QXVinylWallcovering, 145) X(QXPVCFreeWallpaper, 146) X(Banner, 147) X(VinylBanner, 148) \
    X(QXScrimVinylBanner, 149) X(QXFrontlitBanner, 150) X(QXBacklitBanner, 151) X(QXBlockoutBanner, 152) \
    X(QXMeshBanner, 153) X(QXPVCFreeBanner, 154) X(QXHDPEBanner, 155) X(QXPolyesterBanner, 156) \
    X(QXMagneticMedia, 157) X(QXSelf2DAdhesivePaper, 158) X(QXAdhesivePhotoSatin, 159) \
    X(QXReflectiveVinyl, 160) X(QXPerforatedWindowVinyl, 161) X(QXCarWrapVinyl, 162) X(QXLabelStock, 163) \
    X(QXOutdoorPaper, 164) X(QXWaterproofPolyester, 165) X(QXDecalPaper, 166)

// The PageMediaType option table: 0 and 1 are no medium, 2 to 166 the catalogue.
#define QX_MEDIA_TYPE_OPTIONS(X) \
    X(Invalid, 0) X(AutoSelect, 1) QX_MEDIA_PLAIN_PAPERS(X) QX_MEDIA_COATED_PAPERS(X) QX_MEDIA_PHOTO_PAPERS(X) \
    QX_MEDIA_FILMS(X) QX_MEDIA_CANVAS_AND_TEXTILES(X) QX_MEDIA_SYNTHETICS_AND_BANNERS(X)

// Media identifiers: generic media-type names where the printer treats the medium generically,
// the maker's catalogue identifiers ("qx-...", with the weight in g/m2 where the catalogue has
// one) for branded media.
#define QX_MEDIA_IDS_PLAIN_PAPERS(X) \
    X(Plainpaper, "stationery") X(PlainPaper283C90gsm29, "stationery-lightweight") \
    X(PlainPaper283E90gsm29, "stationery-heavyweight") X(BondPaper, "stationery") \
    X(QXUniversalBondPaper, "qx-universal-bond-80") X(QXBrightWhiteBond, "qx-bright-white-bond-90") \
    X(RecycledPaper, "stationery-recycled") X(QXRecycledBond, "qx-recycled-bond-80") \
    X(TracingPaper, "qx-tracing-paper") X(QXNaturalTracingPaper, "qx-natural-tracing-90") \
    X(Vellum, "qx-vellum") X(QXTranslucentVellum, "qx-translucent-vellum-75") \
    X(LightweightPaper, "stationery-lightweight") X(QXLightweightBond, "qx-lightweight-bond-60") \
    X(HeavyweightPlainPaper, "stationery-heavyweight") X(ColoredPaper, "stationery-colored") \
    X(QXBluebackPaper, "qx-blueback-poster-115") X(QXCADPlotterPaper, "qx-cad-plotter-paper-80") \
    X(QXEngineeringBond, "qx-engineering-bond-75") X(InkjetPaper, "stationery-inkjet") \
    X(QXPremiumInkjetBond, "qx-premium-inkjet-bond-90")

#define QX_MEDIA_IDS_COATED_PAPERS(X) \
    X(CoatedPaper, "stationery-coated") X(MatteCoatedPaper, "stationery-coated") \
    X(HeavyweightCoatedPaper, "stationery-heavyweight-coated") \
    X(SuperHeavyweightCoatedPaper, "qx-super-heavyweight-coated-210") X(QXCoatedPaper90gsm, "qx-coated-paper-90") \
    X(QXCoatedPaper130gsm, "qx-coated-paper-130") X(QXHeavyweightCoatedPaper170gsm, "qx-heavyweight-coated-170") \
    X(QXSuperHeavyweightPlus2CMatte, "qx-super-heavyweight-plus-matte-210") \
    X(QXUniversalCoatedPaper, "qx-universal-coated-95") \
    X(QXUniversalHeavyweightCoated, "qx-universal-heavyweight-coated-130") \
    X(QXPremiumCoatedPaper, "qx-premium-coated-110") X(QXBrightWhiteCoatedPaper, "qx-bright-white-coated-100") \
    X(QXRecycledCoatedPaper, "qx-recycled-coated-100") X(QXCoatedPaper28FSC29, "qx-coated-paper-fsc-95") \
    X(PosterPaper, "stationery-coated") X(QXProductionMattePoster, "qx-production-matte-poster-175") \
    X(QXSatinPosterPaper, "qx-satin-poster-136") X(QXHeavyweightPosterPaper, "qx-heavyweight-poster-180") \
    X(QXMatteProofingPaper, "qx-matte-proofing-140") X(QXSemiGlossProofingPaper, "qx-semi-gloss-proofing-200") \
    X(QXContractProofPaper, "qx-contract-proof-250") \
    X(QXWaterResistantCoatedPaper, "qx-water-resistant-coated-130") X(Cardstock, "cardstock") \
    X(QXMatteCardstock, "qx-matte-cardstock-250") X(QXOpaqueCoatedPaper, "qx-opaque-coated-120")

#define QX_MEDIA_IDS_PHOTO_PAPERS(X) \
    X(PhotoGlossPaper, "photographic-glossy") X(PhotoSemiGlossPaper, "photographic-semi-gloss") \
    X(PhotoSatinPaper, "photographic-satin") X(PhotoMattePaper, "photographic-matte") \
    X(PhotoHighGlossPaper, "photographic-high-gloss") X(PhotoLusterPaper, "photographic") \
    X(PhotoPearlPaper, "photographic") X(QXPhotoGloss190gsm, "qx-photo-gloss-190") \
    X(QXPhotoGloss260gsm, "qx-photo-gloss-260") X(QXPhotoSemiGloss190gsm, "qx-photo-semi-gloss-190") \
    X(QXPhotoSemiGloss260gsm, "qx-photo-semi-gloss-260") X(QXPhotoSatin200gsm, "qx-photo-satin-200") \
    X(QXPhotoSatin280gsm, "qx-photo-satin-280") X(QXPhotoMatte170gsm, "qx-photo-matte-170") \
    X(QXPhotoMatte230gsm, "qx-photo-matte-230") X(QXInstantDryPhotoGloss, "qx-instant-dry-photo-gloss-190") \
    X(QXInstantDryPhotoSatin, "qx-instant-dry-photo-satin-200") \
    X(QXPremiumRCPhotoGloss, "qx-premium-rc-photo-gloss-255") \
    X(QXPremiumRCPhotoLuster, "qx-premium-rc-photo-luster-255") \
    X(QXProfessionalPhotoBaryta, "qx-professional-baryta-310") X(QXFineArtPhotoRag, "qx-fine-art-photo-rag-188") \
    X(QXFineArtSmoothMatte, "qx-fine-art-smooth-matte-210") \
    X(QXFineArtTexturedMatte, "qx-fine-art-textured-matte-250") \
    X(QXFineArtCottonRag308gsm, "qx-fine-art-cotton-rag-308") X(QXFineArtWatercolor, "qx-fine-art-watercolor-310") \
    X(QXPhotoGlossPaper2BUV, "qx-photo-gloss-uv-240") X(QXEverydayPhotoSatin, "qx-everyday-photo-satin-170") \
    X(QXEverydayPhotoGloss, "qx-everyday-photo-gloss-170") \
    X(QXHeavyweightPhotoMatte, "qx-heavyweight-photo-matte-250") \
    X(QXMetallicPhotoPaper, "qx-metallic-photo-255") X(QXPhotoProofingGloss, "qx-photo-proofing-gloss-200") \
    X(QXPhotoProofingSemiMatte, "qx-photo-proofing-semi-matte-200") \
    X(QXDurablePhotoSatin, "qx-durable-photo-satin-230")

// QXMultiPurposeFilm has no identifier: the printer holds no preset for it, it is only ever
// printed through a custom media type, whose own identifier names it (see GetMesaCustom).
#define QX_MEDIA_IDS_FILMS(X) \
    X(Transparency, "transparency") X(ClearFilm, "transparency") X(MatteFilm, "film") \
    X(PolyesterFilm, "polyester") X(BacklitFilm, "back-print-film") X(QXBacklitFilm180, "qx-backlit-film-180") \
    X(QXBacklitFilm2DPremium, "qx-backlit-film-premium-200") X(QXBacklitPolyesterFilm, "qx-backlit-polyester-285") \
    X(QXMattePolyesterFilm, "qx-matte-polyester-film-160") X(QXClearPolyesterFilm, "qx-clear-polyester-film-170") \
    X(QXDoubleMatteFilm, "qx-double-matte-film-4mil") X(QXDraftingFilm, "qx-drafting-film-3mil") \
    X(QXMatteFilm4mil, "qx-matte-film-4mil") X(QXMatteFilm3mil, "qx-matte-film-3mil") \
    X(QXPhotoBacklitFilm, "qx-photo-backlit-film-215") X(QXDisplayFilm, "qx-display-film-180") \
    X(QXFrontlitFilm, "qx-frontlit-film-200") X(QXWindowFilm, "qx-window-film-150") \
    X(QXStaticClingFilm, "qx-static-cling-film-200") X(QXScreenPositiveFilm, "qx-screen-positive-film-100") \
    X(QXOpaqueWhiteFilm, "qx-opaque-white-film-190") X(QXAdhesivePolyesterFilm, "self-adhesive-film") \
    X(QXGlossyClearFilm, "qx-glossy-clear-film-175") X(QXGraphicFilm2CGloss, "qx-graphic-film-gloss-190") \
    X(QXGraphicFilm2CMatte, "qx-graphic-film-matte-190")

#define QX_MEDIA_IDS_CANVAS_AND_TEXTILES(X) \
    X(Canvas, "fabric") X(MatteCanvas, "qx-matte-canvas-350") X(SatinCanvas, "qx-satin-canvas-350") \
    X(GlossCanvas, "qx-gloss-canvas-380") X(QXArtistCanvas, "qx-artist-canvas-400") \
    X(QXPolyCottonCanvas, "qx-poly-cotton-canvas-340") X(QXCottonCanvas2CMatte, "qx-cotton-canvas-matte-410") \
    X(QXPolyesterCanvas2CSatin, "qx-polyester-canvas-satin-300") \
    X(QXWaterResistantCanvas, "qx-water-resistant-canvas-360") \
    X(QXProfessionalGlossCanvas, "qx-professional-gloss-canvas-430") X(Textile, "fabric") X(Fabric, "fabric") \
    X(QXPolyesterFabric, "qx-polyester-fabric-210") X(QXFlagFabric, "qx-flag-fabric-110") \
    X(QXBacklitFabric, "qx-backlit-fabric-260") X(QXSoftSignFabric, "qx-soft-sign-fabric-220") \
    X(QXStretchFabric, "qx-stretch-fabric-240") X(QXBlockoutFabric, "qx-blockout-fabric-300") \
    X(QXDisplayFabric2CHeavyweight, "qx-display-fabric-heavyweight-280") X(QXCottonFabric, "qx-cotton-fabric-160") \
    X(QXSilkFabric, "qx-silk-fabric-90") X(QXTransferPaper, "transfer") \
    X(QXHeatTransferPaper, "qx-heat-transfer-paper-100") X(QXRollUpFabric, "qx-roll-up-fabric-230") \
    X(QXWallFabric, "qx-wall-fabric-270") X(QXPolyesterMeshFabric, "qx-polyester-mesh-fabric-120")

#define QX_MEDIA_IDS_SYNTHETICS_AND_BANNERS(X) \
    X(Polypropylene, "plastic") X(MattePolypropylene, "plastic-matte") \
    X(QXAdhesivePolypropylene, "qx-adhesive-polypropylene-180") \
    X(QXPolypropyleneBanner, "qx-polypropylene-banner-200") \
    X(QXSyntheticPaper, "qx-synthetic-paper-120") X(QXTearResistantPaper, "qx-tear-resistant-paper-105") \
    X(Self2DAdhesiveVinyl, "self-adhesive-film") X(QXSelf2DAdhesiveVinyl2CGloss, "qx-self-adhesive-vinyl-gloss-80") \
    X(QXSelf2DAdhesiveVinyl2CMatte, "qx-self-adhesive-vinyl-matte-80") \
    X(QXRemovableAdhesiveVinyl, "qx-removable-adhesive-vinyl-90") \
    X(QXClearAdhesiveVinyl, "qx-clear-adhesive-vinyl-80") \
    X(QXFloorGraphicsVinyl, "qx-floor-graphics-vinyl-150") X(QXVinylWallcovering, "qx-vinyl-wallcovering-290") \
    X(QXPVCFreeWallpaper, "qx-pvc-free-wallpaper-175") X(Banner, "plastic") X(VinylBanner, "plastic") \
    X(QXScrimVinylBanner, "qx-scrim-vinyl-banner-440") X(QXFrontlitBanner, "qx-frontlit-banner-510") \
    X(QXBacklitBanner, "qx-backlit-banner-500") X(QXBlockoutBanner, "qx-blockout-banner-610") \
    X(QXMeshBanner, "qx-mesh-banner-370") X(QXPVCFreeBanner, "qx-pvc-free-banner-240") \
    X(QXHDPEBanner, "qx-hdpe-banner-150") X(QXPolyesterBanner, "qx-polyester-banner-200") \
    X(QXMagneticMedia, "qx-magnetic-media-700") X(QXSelf2DAdhesivePaper, "self-adhesive") \
    X(QXAdhesivePhotoSatin, "qx-adhesive-photo-satin-170") X(QXReflectiveVinyl, "qx-reflective-vinyl-120") \
    X(QXPerforatedWindowVinyl, "qx-perforated-window-vinyl-140") X(QXCarWrapVinyl, "qx-car-wrap-vinyl-80") \
    X(QXLabelStock, "labels") X(QXOutdoorPaper, "qx-outdoor-paper-150") \
    X(QXWaterproofPolyester, "qx-waterproof-polyester-170") X(QXDecalPaper, "qx-decal-paper-130")

// Keyword to media identifier, for every catalogue medium but QXMultiPurposeFilm.
#define QX_MEDIA_IDS(X) \
    QX_MEDIA_IDS_PLAIN_PAPERS(X) QX_MEDIA_IDS_COATED_PAPERS(X) QX_MEDIA_IDS_PHOTO_PAPERS(X) QX_MEDIA_IDS_FILMS(X) \
    QX_MEDIA_IDS_CANVAS_AND_TEXTILES(X) QX_MEDIA_IDS_SYNTHETICS_AND_BANNERS(X)

// Compile-time checks of the two lists' shape; keyword membership is checked where EMediaType is known.
namespace mediatypetable {

#define QX_MEDIA_ROW_VALUE(keyword, value) (value),
#define QX_MEDIA_ROW_ONE(keyword, identifier) 1 +
inline constexpr int kMediaTypeValues[] = {QX_MEDIA_TYPE_OPTIONS(QX_MEDIA_ROW_VALUE)};
inline constexpr int kMediaTypeRows = sizeof(kMediaTypeValues) / sizeof(kMediaTypeValues[0]);
inline constexpr int kMediaIdRows = QX_MEDIA_IDS(QX_MEDIA_ROW_ONE) 0;
#undef QX_MEDIA_ROW_VALUE
#undef QX_MEDIA_ROW_ONE

constexpr bool ValuesAreTheirPositions()
{
    for (int row = 0; row < kMediaTypeRows; ++row) {
        if (kMediaTypeValues[row] != row) {
            return false;
        }
    }
    return true;
}

static_assert(kMediaTypeRows == 167, "the PageMediaType table has 167 rows");
static_assert(ValuesAreTheirPositions(), "a PageMediaType value is its row's position");
static_assert(kMediaIdRows == 164, "every catalogue medium but one has a media identifier");

}  // namespace mediatypetable
